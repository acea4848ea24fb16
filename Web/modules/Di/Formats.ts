// Numbers and times as the reader writes them. Made once: the constructors of Intl are slow.

export class Formats {
  private readonly number: Intl.NumberFormat;
  private readonly tenths: Intl.NumberFormat;
  private readonly time: Intl.DateTimeFormat;
  private readonly seconds: Intl.DateTimeFormat;
  private readonly dateAndTime: Intl.DateTimeFormat;
  private readonly localTime: Intl.DateTimeFormat;
  private readonly utcDate: Intl.DateTimeFormat;

  constructor(language: string) {
    this.number = new Intl.NumberFormat(language, { maximumFractionDigits: 0 });
    this.tenths = new Intl.NumberFormat(language, { minimumFractionDigits: 1, maximumFractionDigits: 1 });
    this.time = new Intl.DateTimeFormat(language, { hour: "2-digit", minute: "2-digit", hourCycle: "h23" });
    this.seconds = new Intl.DateTimeFormat(language, { timeStyle: "medium", hourCycle: "h23" });
    this.dateAndTime = new Intl.DateTimeFormat(language, {
      day: "numeric",
      month: "short",
      hour: "2-digit",
      minute: "2-digit",
      hourCycle: "h23",
    });
    this.localTime = new Intl.DateTimeFormat(language, {
      hour: "2-digit",
      minute: "2-digit",
      second: "2-digit",
      timeZoneName: "short",
      hourCycle: "h23",
    });
    this.utcDate = new Intl.DateTimeFormat(language, { dateStyle: "full", timeZone: "UTC" });
  }

  formatNumber(value: number): string {
    return this.number.format(value);
  }

  formatTenths(value: number): string {
    return this.tenths.format(value);
  }

  /** "02:41" in the reader's zone; with the day when that is not today. */
  formatTime(milliseconds: number): string {
    const isToday = new Date(milliseconds).toDateString() === new Date().toDateString();
    return (isToday ? this.time : this.dateAndTime).format(milliseconds);
  }

  /** "02:41:07" in the reader's zone. */
  formatSeconds(milliseconds: number): string {
    return this.seconds.format(milliseconds);
  }

  /** "02:41:07 CET". */
  formatLocalTime(milliseconds: number): string {
    return this.localTime.format(milliseconds);
  }

  formatUtcDate(milliseconds: number): string {
    return this.utcDate.format(milliseconds);
  }
}
