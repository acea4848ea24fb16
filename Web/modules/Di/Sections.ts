// The sections of the data provider "DeviceInterfaceDp", as Docs/HttpApi.md describes them.

export const dataProvider = "DeviceInterfaceDp";
export const controlProvider = "DeviceInterfaceControlDp";

export interface GeneralData {
  readonly articleName: string;
  readonly orderNumber: string;
  readonly serialNumber: string;
  readonly fullFirmwareVersion: string;
  readonly hardwareVersion: string;
  readonly fpgaVersion: string;
  readonly splcSupported: boolean;
  readonly splcFirmwareVersion: string;
  readonly splcFpgaVersion: string;
}

export interface DateTime {
  /** Seconds. */
  readonly systemUpTime: number;
  /** Microseconds since 1970-01-01 UTC as decimal text; empty while the clock never had a time. */
  readonly currentTimestamp: string;
}

export interface Health {
  /** Degrees Celsius. */
  readonly boardTemperature: number;
}

export interface StatusIndicator {
  readonly fullName: string;
  readonly stateCode: number;
  readonly colorCode: number;
}

export interface Utilization {
  readonly memoryUsagePercent: number;
  /** Bytes, as the next one. */
  readonly userPartitionTotal: number;
  readonly userPartitionUsage: number;
  readonly userPartitionUsagePercent: number;
  readonly cpuCoresCount: number;
  readonly cpuLoadTotal: number;
  /** Core 1 first. */
  readonly cpuCoresLoad: readonly number[];
}

export interface SectionValues {
  readonly DateTime: DateTime;
  readonly GeneralData: GeneralData;
  readonly Health: Health;
  readonly StatusIndicators: readonly StatusIndicator[];
  readonly Utilization: Utilization;
}

export type SectionName = keyof SectionValues;

/** Payload of the requests that are answered with yes or no. */
export interface BooleanResult {
  readonly result: boolean;
}

/** What a text of the device says where the device has none. */
export const notAvailable = "N/A";
