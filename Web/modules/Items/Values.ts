// Values of items as people read them.
import { makeVisible } from "../../kit/components/Basics";
import { formatBytes, formatDuration, type Quantity, type TextFunction } from "../../kit/Texts";
import type { Item } from "./Items";

type Valued = Pick<Item, "value" | "unit">;

const smallestPlain = 0.001;

export class Values {
  private readonly number: Intl.NumberFormat;
  private readonly small: Intl.NumberFormat;
  private readonly time: Intl.DateTimeFormat;
  private readonly shortTime: Intl.DateTimeFormat;

  constructor(
    private readonly language: string,
    private readonly text: TextFunction,
  ) {
    this.number = new Intl.NumberFormat(language, { maximumFractionDigits: 3 });
    this.small = new Intl.NumberFormat(language, { maximumSignificantDigits: 3, notation: "scientific" });
    this.time = new Intl.DateTimeFormat(language, {
      month: "short",
      day: "numeric",
      hour: "2-digit",
      minute: "2-digit",
      second: "2-digit",
      hourCycle: "h23",
    });
    this.shortTime = new Intl.DateTimeFormat(language, {
      hour: "2-digit",
      minute: "2-digit",
      hourCycle: "h23",
    });
  }

  /** Short: bytes with a prefix, seconds as a duration. */
  format({ value, unit }: Valued): Quantity {
    switch (typeof value) {
      case "boolean":
        return { value: this.text(value ? "value.true" : "value.false"), unit };
      case "string":
        return { value: makeVisible(value), unit };
      case "number":
        return this.formatQuantity(value, unit);
      default:
        return { value: "–", unit: "" };
    }
  }

  /** Every digit, in the item's own unit. */
  formatExact({ value, unit }: Valued): string {
    if (typeof value !== "number") {
      const quantity = this.format({ value, unit });
      return [quantity.value, quantity.unit].filter(Boolean).join(" ");
    }
    const exact = new Intl.NumberFormat(this.language, { maximumFractionDigits: 20 }).format(value);
    return [exact, makeVisible(unit)].filter(Boolean).join(" ");
  }

  formatNumber(value: number): string {
    const isSmall = value !== 0 && Math.abs(value) < smallestPlain;
    return (isSmall ? this.small : this.number).format(value);
  }

  formatTime(milliseconds: number): string {
    return this.time.format(milliseconds);
  }

  formatShortTime(milliseconds: number): string {
    return this.shortTime.format(milliseconds);
  }

  private formatQuantity(value: number, unit: string): Quantity {
    if (unit === "B" && value >= 0) {
      return formatBytes(value, this.language);
    }
    if (unit === "s" && value >= 60) {
      return { value: formatDuration(value), unit: "" };
    }
    return { value: this.formatNumber(value), unit: makeVisible(unit) };
  }
}
