// What a client calls itself, in short.

const browsers: readonly (readonly [RegExp, string])[] = [
  [/\bEdg(?:A|iOS)?\/(\d+)/, "Edge"],
  [/\bOPR\/(\d+)/, "Opera"],
  [/\b(?:Firefox|FxiOS)\/(\d+)/, "Firefox"],
  [/\b(?:Chrome|CriOS|HeadlessChrome)\/(\d+)/, "Chrome"],
  [/\bVersion\/(\d+)[.\d]* (?:Mobile\/\S+ )?Safari\//, "Safari"],
];

const systems: readonly (readonly [RegExp, string])[] = [
  [/\bAndroid\b/, "Android"],
  [/\b(?:iPhone|iPad|iPod)\b/, "iOS"],
  [/\bWindows\b/, "Windows"],
  [/\bMac OS X\b/, "macOS"],
  [/\bCrOS\b/, "ChromeOS"],
  [/\bLinux\b/, "Linux"],
];

/** "Firefox 128, Linux"; of a program its own name; empty when the client said nothing. */
export function describeUserAgent(userAgent: string): string {
  for (const [pattern, name] of browsers) {
    const found = pattern.exec(userAgent);
    if (found) {
      const system = systems.find(([each]) => each.test(userAgent));
      return [`${name} ${found[1]}`, system?.[1]].filter(Boolean).join(", ");
    }
  }
  return userAgent;
}
