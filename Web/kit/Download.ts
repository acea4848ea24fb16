// Gives the user a file that the page has made.

export function saveFile(name: string, mediaType: string, content: string): void {
  const address = URL.createObjectURL(new Blob([content], { type: mediaType }));
  const link = document.createElement("a");
  link.href = address;
  link.download = name;
  link.click();
  // The browser reads it after the click.
  setTimeout(() => URL.revokeObjectURL(address), 60_000);
}

/** "2026-11-22-135512": a time that file names can have everywhere, in UTC. */
export function formatFileTime(time: Date): string {
  return time.toISOString().slice(0, 19).replaceAll(":", "").replace("T", "-");
}
