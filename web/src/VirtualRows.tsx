// Rows of equal height, of which only the visible ones are drawn.
import type { ComponentChildren, JSX } from "preact";
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";

interface Props {
  count: number;
  height: number;
  active: number;
  onActive: (index: number) => void;
  onOpen: (index: number) => void;
  label: string;
  columns: number;
  header: ComponentChildren;
  row: (index: number) => ComponentChildren;
  onKey?: (event: KeyboardEvent) => void;
}

const kSpare = 6;
// The height of the header, which stays on top.
const kHeader = 30;
// Browsers do not draw an element that is much higher.
const kHighest = 15_000_000;

export function VirtualRows(props: Props) {
  const { count, height, active } = props;
  const box = useRef<HTMLDivElement>(null);
  const [view, setView] = useState({ top: 0, height: 600 });

  useLayoutEffect(() => {
    const element = box.current;
    if (!element) {
      return;
    }
    const measure = () => setView({ top: element.scrollTop, height: element.clientHeight });
    const observer = new ResizeObserver(measure);
    observer.observe(element);
    element.addEventListener("scroll", measure, { passive: true });
    measure();
    return () => {
      observer.disconnect();
      element.removeEventListener("scroll", measure);
    };
  }, []);

  const total = Math.min(count * height, kHighest);
  const first = Math.max(0, Math.floor(view.top / height) - kSpare);
  const last = Math.min(count, Math.ceil((view.top + view.height) / height) + kSpare);

  const show = (index: number) => {
    const element = box.current;
    if (element) {
      const top = index * height;
      if (top < element.scrollTop) {
        element.scrollTop = top;
      } else if (top + height > element.scrollTop + element.clientHeight - kHeader) {
        element.scrollTop = top + height - element.clientHeight + kHeader;
      }
    }
  };
  useEffect(() => {
    if (active >= 0) {
      show(active);
    }
  }, [active]);
  const move = (to: number) => props.onActive(Math.max(0, Math.min(count - 1, to)));
  const onKeyDown = (event: JSX.TargetedKeyboardEvent<HTMLDivElement>) => {
    const page = Math.max(1, Math.floor(view.height / height) - 1);
    const steps: Record<string, number> = {
      ArrowDown: active + 1,
      ArrowUp: active - 1,
      PageDown: active + page,
      PageUp: active - page,
      Home: 0,
      End: count - 1,
    };
    if (event.key in steps) {
      event.preventDefault();
      move(steps[event.key]);
    } else if (event.key === "Enter" && active >= 0) {
      event.preventDefault();
      props.onOpen(active);
    } else {
      props.onKey?.(event);
    }
  };

  return (
    <div
      class="grid"
      role="grid"
      aria-label={props.label}
      aria-rowcount={count + 1}
      aria-colcount={props.columns}
      aria-activedescendant={active >= first && active < last ? `row-${active}` : undefined}
      tabIndex={0}
      ref={box}
      onKeyDown={onKeyDown}
    >
      {props.header}
      <div class="grid-rows" role="rowgroup" style={{ height: `${total}px` }}>
          {Array.from({ length: Math.max(0, last - first) }, (_, i) => first + i).map((index) => (
            <div
              key={index}
              id={`row-${index}`}
              class="grid-row"
              role="row"
              aria-rowindex={index + 2}
              aria-selected={index === active}
              style={{ transform: `translateY(${index * height}px)`, height: `${height}px` }}
              onClick={() => {
                props.onActive(index);
                props.onOpen(index);
              }}
            >
              {props.row(index)}
            </div>
          ))}
      </div>
    </div>
  );
}
