// The sections of the data provider "DeviceInterfaceDp", as docs/HttpApi describes them.

export const dataProvider = "DeviceInterfaceDp";
export const controlProvider = "DeviceInterfaceControlDp";

export interface GeneralData {
  readonly articleName: string;
  readonly articleNumber: string;
  readonly serialNumber: string;
}
