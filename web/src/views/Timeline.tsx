// What happened since zqsettings was started, the newest first, with a chart of the changes.
import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import uPlot from "uplot";
import type { Change, EventMessage, LogMessage } from "../protocol";
import { goTo } from "../route";
import { shownText, useStore, type TimelineEntry } from "../store";

const kShownAtFirst = 100;
const kShownChanges = 100;
const kChartHeight = 140;
const kShortestSeconds = 60;
const kWholeSteps = [1, 2, 5].flatMap((step) => [0, 1, 2, 3, 4, 5].map((power) => step * 10 ** power)).sort((a, b) => a - b);
const kLevels = ["", "notable", "progress", "warning", "failure"];

const timeText = (time: number) => {
  const date = new Date(time);
  return `${date.toLocaleTimeString("en-GB")}.${String(date.getMilliseconds()).padStart(3, "0")}`;
};
const changed = (changes: Change[]) => (changes.length === 0 ? "no variable changed" : `${count(changes.length, "variable")} changed`);
const count = (number: number, what: string) => `${number.toLocaleString("en")} ${what}${number === 1 ? "" : "s"}`;

interface Summary {
  tone: string;
  kind: string;
  text: string;
  line?: string; // where in Files
  changes: Change[];
}

function summaryOf(message: EventMessage): Summary {
  switch (message.kind) {
    case "reload": {
      const late = message.milliseconds === undefined ? "" : `, ${message.milliseconds.toFixed(0)} ms after the file was written`;
      return { tone: "good", kind: "reload", text: `${changed(message.changes)}${late}`, changes: message.changes };
    }
    case "change":
      return { tone: "good", kind: "change", text: `${changed(message.changes)} by the module`, changes: message.changes };
    case "save": {
      const what = message.name ? `${message.name} = ${String(message.value)}` : message.file;
      return message.outcome === "saved"
        ? { tone: "good", kind: "save", text: what, changes: [] }
        : { tone: "bad", kind: "save", text: `${what} was not saved: ${message.reason}`, changes: [] };
    }
    case "refusal": {
      const place = message.line ? `, line ${message.line}, column ${message.column}` : "";
      const fate =
        message.outcome === "replaced"
          ? "The module put the default in its place; the refused text is among the copies in Files"
          : message.outcome === "missing"
            ? "The module uses the default instead"
            : "The file was not changed";
      return {
        tone: "bad",
        kind: message.outcome === "missing" ? "missing" : "refusal",
        text: `${message.file}${place}: ${message.reason}. ${fate}.`,
        line: message.line ? `${message.file}:${message.line}` : message.file,
        changes: [],
      };
    }
    case "accept":
      return { tone: "good", kind: "accept", text: `${message.file} is accepted again`, changes: [] };
    case "folder":
      return { tone: message.exists ? "good" : "bad", kind: "folder", text: message.exists ? "The folder is back" : "The folder is missing", changes: [] };
    default:
      return { tone: "warn", kind: "notice", text: message.text, changes: [] };
  }
}

// The chart uses the page's colours, so it is drawn again when they change.
function useDark(): boolean {
  const query = useMemo(() => matchMedia("(prefers-color-scheme: dark)"), []);
  const [isDark, setDark] = useState(query.matches);
  useEffect(() => {
    const follow = () => setDark(query.matches);
    query.addEventListener("change", follow);
    return () => query.removeEventListener("change", follow);
  }, [query]);
  return isDark;
}

const clockText = (seconds: number) => new Date(seconds * 1000).toTimeString().slice(0, 8);

function Chart() {
  const isDark = useDark();
  const box = useRef<HTMLDivElement>(null);
  const plot = useRef<uPlot | null>(null);
  const { points } = useStore();
  useEffect(() => {
    const element = box.current;
    if (!element) {
      return;
    }
    const color = (name: string) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
    const axis = { stroke: () => color("--dim"), grid: { stroke: () => color("--line"), width: 1 }, ticks: { show: false }, font: "12px system-ui" };
    const made = new uPlot(
      {
        width: element.clientWidth,
        height: kChartHeight,
        cursor: { y: false },
        legend: { show: true, live: true },
        scales: { x: { range: (_, min, max) => [Math.min(min, max - kShortestSeconds), max + 1] }, y: { range: (_, __, max) => [0, Math.max(1, max)] }, ms: { range: (_, __, max) => [0, Math.max(10, max)] } },
        axes: [{ ...axis, values: (_, times) => times.map(clockText), space: 70 }, { ...axis, size: 48, incrs: kWholeSteps }, { ...axis, side: 1, scale: "ms", size: 48, grid: { show: false } }],
        series: [
          { label: "time", value: (_, time) => (time === null ? "--" : clockText(time)) },
          { label: "variables changed", stroke: () => color("--accent"), fill: () => color("--accent-soft"), paths: uPlot.paths.bars?.({ size: [0.8, 12] }), points: { show: false } },
          { label: "ms from write to reload", scale: "ms", stroke: () => color("--second"), width: 1.5, points: { show: true, size: 5 } },
        ],
      },
      [[], [], []],
      element,
    );
    plot.current = made;
    const observer = new ResizeObserver(() => made.setSize({ width: element.clientWidth, height: kChartHeight }));
    observer.observe(element);
    return () => {
      observer.disconnect();
      made.destroy();
    };
  }, [isDark]);
  const last = points[points.length - 1];
  useEffect(() => {
    plot.current?.setData([points.map((p) => p.time), points.map((p) => p.changes), points.map((p) => p.milliseconds)]);
  }, [last, points.length, isDark]);
  const total = points.reduce((sum, point) => sum + point.changes, 0);
  return (
    <figure class="chart" aria-label={`Chart: ${count(total, "change")} in ${count(points.length, "reload")}`}>
      <div ref={box} aria-hidden="true" />
    </figure>
  );
}

function Log({ lines }: { lines: LogMessage[] }) {
  return (
    <ol class="log">
      {lines.map((line, index) => (
        <li key={index} class={`level-${line.level}`}>
          <time>{timeText(Date.parse(line.time))}</time>
          <span class="level">{kLevels[line.level] ?? line.level}</span>
          <span class="log-text">{line.text}</span>
        </li>
      ))}
    </ol>
  );
}

function Changes({ changes }: { changes: Change[] }) {
  return (
    <ul class="changes">
      {changes.slice(0, kShownChanges).map((change) => (
        <li key={`${change.name}${change.types[0]}`}>
          <button type="button" class="link" onClick={() => goTo("variables", change.name)}>
            {change.name}
          </button>{" "}
          <span class="before">{change.old === undefined ? "(new)" : shownText(change.types, change.old, change.oldText)}</span> →{" "}
          {change.new === undefined ? "(gone)" : shownText(change.types, change.new, change.newText)}
        </li>
      ))}
      {changes.length > kShownChanges && <li class="dim">and {changes.length - kShownChanges} more</li>}
    </ul>
  );
}

function Entry({ entry }: { entry: TimelineEntry }) {
  const [isOpen, setIsOpen] = useState(false);
  const summary = summaryOf(entry.message);
  const worst = Math.max(0, ...entry.log.map((line) => line.level));
  return (
    <li class={`event ${summary.tone}`}>
      <div class="event-head">
        <time dateTime={entry.message.time}>{timeText(entry.time)}</time>
        <span class="kind">{summary.kind}</span>
        <span class="event-text">{summary.text}</span>
        {summary.line && (
          <button type="button" onClick={() => goTo("files", summary.line)}>
            Show
          </button>
        )}
      </div>
      {summary.changes.length > 0 && <Changes changes={isOpen ? summary.changes : summary.changes.slice(0, 3)} />}
      {(entry.log.length > 0 || summary.changes.length > 3) && (
        <button type="button" class={`link more level-${worst}`} aria-expanded={isOpen} onClick={() => setIsOpen(!isOpen)}>
          {isOpen ? "Less" : [summary.changes.length > 3 ? "all changes" : "", entry.log.length ? count(entry.log.length, "log line") : ""].filter(Boolean).join(", ")}
        </button>
      )}
      {isOpen && entry.log.length > 0 && <Log lines={entry.log} />}
    </li>
  );
}

export function TimelineView() {
  const { events, loose } = useStore();
  const [shown, setShown] = useState(kShownAtFirst);
  const [isLooseOpen, setIsLooseOpen] = useState(false);
  return (
    <section class="page">
      <div class="page-head">
        <h2>Timeline</h2>
      </div>
      <Chart />
      <div class="loose">
        <button type="button" class="link" aria-expanded={isLooseOpen} disabled={loose.length === 0} onClick={() => setIsLooseOpen(!isLooseOpen)}>
          {count(loose.length, "log line")} since the last event
        </button>
        {isLooseOpen && <Log lines={loose} />}
      </div>
      <ol class="events" reversed>
        {events.slice(0, shown).map((entry) => (
          <Entry key={entry.id} entry={entry} />
        ))}
      </ol>
      {events.length === 0 && <p class="empty">Nothing has happened yet. Edit one of the three files, or save a value.</p>}
      {events.length > shown && (
        <button type="button" onClick={() => setShown(shown + kShownAtFirst)}>
          Show older ones
        </button>
      )}
    </section>
  );
}

