import { useEffect, useMemo, useRef, useState } from "preact/hooks";
import type { TypeName } from "../protocol";
import { goTo, useRoute } from "../route";
import { store, useStore, type Row } from "../store";
import { VirtualRows } from "../VirtualRows";
import { VariablePanel } from "./VariablePanel";

const kRowHeight = 32;
const kFlashMilliseconds = 4000;
const kTypes: TypeName[] = ["bool", "integer", "double", "string", "binary"];
const kGroups = 40;

export const typeText = (row: Row) => row.types.join(", ");
const groupOf = (name: string) => name.slice(0, name.indexOf(".") + 1);

interface Filter {
  text: string;
  type: string;
  group: string;
  isDifferent: boolean;
}

function matches(row: Row, words: string[], filter: Filter): boolean {
  return (
    (filter.type === "" || row.types.includes(filter.type as TypeName)) &&
    row.name.startsWith(filter.group) &&
    words.every((word) => row.lower.includes(word) || row.shown.toLowerCase().includes(word)) &&
    (!filter.isDifferent || store.differs(row))
  );
}

// The groups with the most variables; others are found by typing.
function groupsOf(rows: Row[]): string[] {
  const counts = new Map<string, number>();
  rows.forEach((row) => {
    const group = groupOf(row.name);
    if (group) {
      counts.set(group, (counts.get(group) ?? 0) + 1);
    }
  });
  return [...counts]
    .sort((a, b) => b[1] - a[1])
    .slice(0, kGroups)
    .map(([group]) => group)
    .sort();
}

export function VariablesView() {
  const { rest } = useRoute();
  const { rows, structure, connection } = useStore();
  const [filter, setFilter] = useState<Filter>({ text: "", type: "", group: "", isDifferent: false });
  const [active, setActive] = useState(0);
  const search = useRef<HTMLInputElement>(null);

  const words = useMemo(() => filter.text.toLowerCase().split(/\s+/).filter(Boolean), [filter.text]);
  const isPlain = words.length === 0 && !filter.type && !filter.group && !filter.isDifferent;
  const shown = useMemo(
    () => (isPlain ? rows : rows.filter((row) => matches(row, words, filter))),
    [rows, words, filter, isPlain, isPlain ? 0 : structure],
  );
  const groups = useMemo(() => groupsOf(rows), [rows]);
  const set = (part: Partial<Filter>) => {
    setFilter((known) => ({ ...known, ...part }));
    setActive(0);
  };

  useEffect(() => {
    const toSearch = (event: KeyboardEvent) => {
      const target = event.target as HTMLElement;
      if (event.key === "/" && !/^(INPUT|SELECT|TEXTAREA)$/.test(target.tagName)) {
        event.preventDefault();
        search.current?.focus();
      }
    };
    addEventListener("keydown", toSearch);
    return () => removeEventListener("keydown", toSearch);
  }, []);

  const open = rest ? rows.find((row) => row.name === rest) : undefined;
  useEffect(() => {
    const index = open ? shown.findIndex((row) => row.name === open.name) : -1;
    if (index >= 0) {
      setActive(index);
    }
  }, [open?.name, filter]);
  return (
    <div class={open ? "split open" : "split"}>
      <section class="pane" aria-label="List of variables">
        <div class="tools">
          <label class="search">
            <span class="sr">Search</span>
            <input
              ref={search}
              type="search"
              placeholder="Search ( / )"
              value={filter.text}
              onInput={(event) => set({ text: event.currentTarget.value })}
            />
            <output class="found" aria-live="polite">
              {shown.length === rows.length ? "" : `${shown.length.toLocaleString("en")} found`}
            </output>
          </label>
          <label>
            <span class="sr">Group</span>
            <select value={filter.group} onChange={(event) => set({ group: event.currentTarget.value })}>
              <option value="">All groups</option>
              {groups.map((group) => (
                <option key={group} value={group}>
                  {group.slice(0, -1)}
                </option>
              ))}
            </select>
          </label>
          <label>
            <span class="sr">Type</span>
            <select value={filter.type} onChange={(event) => set({ type: event.currentTarget.value })}>
              <option value="">All types</option>
              {kTypes.map((type) => (
                <option key={type} value={type}>
                  {type}
                </option>
              ))}
            </select>
          </label>
          <label class="check">
            <input
              type="checkbox"
              checked={filter.isDifferent}
              onChange={(event) => set({ isDifferent: event.currentTarget.checked })}
            />
            Differs from default
          </label>
        </div>
        <VirtualRows
          count={shown.length}
          height={kRowHeight}
          active={Math.min(active, shown.length - 1)}
          onActive={setActive}
          onOpen={(index) => goTo("variables", shown[index].name)}
          label="Variables"
          columns={3}
          header={
            <div class="grid-head" role="row" aria-rowindex={1}>
              <span role="columnheader">Name</span>
              <span role="columnheader">Type</span>
              <span role="columnheader">Value</span>
            </div>
          }
          row={(index) => <VariableCells row={shown[index]} />}
        />
        {shown.length === 0 && connection === "connected" && <p class="empty">No variable matches the filter.</p>}
      </section>
      {open && <VariablePanel key={open.name} name={open.name} onClose={() => goTo("variables")} />}
    </div>
  );
}

function VariableCells({ row }: { row: Row }) {
  const isFresh = row.changedAt > 0 && performance.now() - row.changedAt < kFlashMilliseconds;
  const standard = store.defaultOf(row);
  const isDifferent = standard !== undefined && standard.plain !== row.plain;
  return (
    <>
      <span role="gridcell" class="name" title={row.name}>
        {row.name}
      </span>
      <span role="gridcell" class="type">
        {typeText(row)}
      </span>
      <span role="gridcell" class="value" data-name={row.name}>
        {isFresh ? (
          <span key={row.changedAt} class="flash">
            <span class="before">{row.before}</span> → {row.shown}
          </span>
        ) : (
          row.shown
        )}
        {isDifferent && (
          <span class="mark" title={`The default is ${standard.shown}`}>
            differs
          </span>
        )}
      </span>
    </>
  );
}
