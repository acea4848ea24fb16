// What stands in the place of a list that has not come, or could not be read.
import type { ComponentChildren } from "preact";
import { useEffect, useRef } from "preact/hooks";
import { Button, Skeleton } from "./Basics";

const skeletonWidths = [30, 24, 34, 28, 22, 32];

export function ListSkeleton() {
  return (
    <div class="oxa-card oxa-stack" aria-busy="true">
      {skeletonWidths.map((width) => (
        <div key={width} class="oxa-row">
          <Skeleton width={width} />
        </div>
      ))}
    </div>
  );
}

interface FailureBannerProps {
  readonly level?: "warning" | "bad";
  readonly retryLabel: string;
  readonly onRetry: () => void;
  readonly children: ComponentChildren;
}

/** Why something could not be read. When it goes with the focus on its button, the content around it gets the focus. */
export function FailureBanner({ level = "bad", retryLabel, onRetry, children }: FailureBannerProps) {
  const banner = useRef<HTMLDivElement>(null);
  useEffect(() => {
    const element = banner.current;
    return () => {
      if (element?.contains(document.activeElement)) {
        element.closest("main")?.focus({ preventScroll: true });
      }
    };
  }, []);
  return (
    <div class="oxa-banner oxa-failure" data-level={level} role="alert" ref={banner}>
      <span>{children}</span>
      <Button onClick={onRetry}>{retryLabel}</Button>
    </div>
  );
}
