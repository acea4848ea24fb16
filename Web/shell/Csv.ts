// Tables as text (RFC 4180), for spreadsheets as well.

const byteOrderMark = "\ufeff";

/** What a spreadsheet would take for a formula gets an apostrophe before it, which makes it text. */
export function protectCell(text: string): string {
  return /^[=+\-@\t\r\n\uff1d\uff0b\uff0d\uff20]/.test(text) ? `'${text}` : text;
}

function formatCell(text: string): string {
  const cell = protectCell(text);
  return /[",\r\n]/.test(cell) ? `"${cell.replaceAll('"', '""')}"` : cell;
}

/** With a byte order mark, by which spreadsheets know UTF-8. */
export function formatCsv(rows: readonly (readonly string[])[]): string {
  return byteOrderMark + rows.map((cells) => `${cells.map(formatCell).join(",")}\r\n`).join("");
}
