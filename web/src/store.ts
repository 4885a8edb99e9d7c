// What the page knows: kept up to date by the messages, read by the views. Views are drawn at most once a frame,
// however many messages come.
import { useEffect, useReducer } from "preact/hooks";
import type {
  Change,
  EventMessage,
  FileState,
  LogMessage,
  Message,
  RefusalMessage,
  StateMessage,
  TypeName,
  Value,
  WireVariable,
} from "./protocol";

export interface HistoryEntry {
  time: number;
  old: string;
  new: string;
}

export interface Row {
  key: string;
  name: string;
  lower: string;
  types: TypeName[];
  value: Value;
  shown: string;
  plain: string;
  isGone: boolean;
  changedAt: number; // performance.now(), 0 for never
  before: string;
  history: HistoryEntry[];
}

export interface TimelineEntry {
  id: number;
  time: number;
  message: EventMessage;
  log: LogMessage[];
}

export type Connection = "connecting" | "connected" | "lost" | "ended";

const kMostHistory = 50;
const kMostEvents = 2000;
const kMostLogLines = 5000;
const kMostKeptChanges = 30_000;
const kMostPoints = 1200;

export function plainText(value: Value | undefined, exact?: string): string {
  return value === undefined ? "" : (exact ?? String(value));
}

export function shownText(types: TypeName[], value: Value | undefined, exact?: string): string {
  if (value === undefined) {
    return "";
  }
  if (types[0] === "string") {
    return JSON.stringify(value);
  }
  if (types[0] === "double" && typeof value === "number" && Number.isInteger(value)) {
    return value.toFixed(1);
  }
  if (types[0] === "binary") {
    const text = String(value);
    const bytes = text.length / 2;
    return `${bytes} ${bytes === 1 ? "byte" : "bytes"}: ${text.slice(0, 64)}${text.length > 64 ? " …" : ""}`;
  }
  return exact ?? String(value);
}

const keyOf = (name: string, types: TypeName[]) => `${name}\n${types[0]}`;

function makeRow(variable: WireVariable): Row {
  return {
    key: keyOf(variable.name, variable.types),
    name: variable.name,
    lower: variable.name.toLowerCase(),
    types: variable.types,
    value: variable.value,
    shown: shownText(variable.types, variable.value, variable.text),
    plain: plainText(variable.value, variable.text),
    isGone: false,
    changedAt: 0,
    before: "",
    history: [],
  };
}

const changesOf = (message: EventMessage) => ("changes" in message ? message.changes.length : 0);

class Store {
  connection: Connection = "connecting";
  state: Omit<StateMessage, "variables"> | null = null;
  files = new Map<string, FileState>();
  refusals = new Map<string, RefusalMessage>();
  rows: Row[] = [];
  byKey = new Map<string, Row>();
  structure = 0; // counts what may change which rows a filter shows
  defaults: Map<string, Row> | null = null;
  events: TimelineEntry[] = [];
  loose: LogMessage[] = []; // log lines since the last event
  // For the chart: seconds, number of changes, milliseconds from write to reload.
  points: { time: number; changes: number; milliseconds: number | null }[] = [];
  received = 0;
  changesSeen = 0;

  private listeners = new Set<() => void>();
  private isPending = false;
  private nextId = 1;
  private logLines = 0;
  private keptChanges = 0;

  subscribe(listener: () => void): () => void {
    this.listeners.add(listener);
    return () => this.listeners.delete(listener);
  }

  touch(): void {
    if (this.isPending) {
      return;
    }
    this.isPending = true;
    const run = () => {
      if (this.isPending) {
        this.isPending = false;
        this.listeners.forEach((listener) => listener());
      }
    };
    requestAnimationFrame(run);
    // A background tab draws no frames.
    setTimeout(run, 250);
  }

  setConnection(connection: Connection): void {
    this.connection = connection;
    this.touch();
  }

  setDefaults(variables: WireVariable[]): void {
    this.defaults = new Map(variables.map((variable) => [keyOf(variable.name, variable.types), makeRow(variable)]));
    this.structure++;
    this.touch();
  }

  apply(message: Message, isPast = false): void {
    this.received++;
    switch (message.kind) {
      case "state":
        this.replaceState(message);
        break;
      case "reload":
      case "change":
        if (!isPast) {
          this.applyChanges(message.changes, Date.parse(message.time));
        }
        this.addPoint(Date.parse(message.time), message.changes.length, message.kind === "reload" ? message.milliseconds : undefined);
        this.addEvent(message);
        break;
      case "log":
        this.addLog(message);
        break;
      case "file":
        if (!isPast) {
          this.files.set(message.state.file, message.state);
          if (message.state.accepted) {
            this.refusals.delete(message.state.file);
          }
        }
        break;
      case "folder":
        if (!isPast && this.state) {
          this.state.folderExists = message.exists;
        }
        this.addEvent(message);
        break;
      case "refusal":
        if (message.outcome !== "replaced" && !this.files.get(message.file)?.accepted) {
          this.refusals.set(message.file, message);
        }
        this.addEvent(message);
        break;
      case "accept":
        this.refusals.delete(message.file);
        this.addEvent(message);
        break;
      case "save":
      case "notice":
        this.addEvent(message);
        break;
      case "end":
        this.connection = "ended";
        break;
      default:
        break; // of a later version
    }
    this.touch();
  }

  replaceHistory(messages: Message[]): void {
    this.events = [];
    this.points = [];
    this.loose = [];
    this.logLines = 0;
    this.keptChanges = 0;
    messages.forEach((message) => this.apply(message, true));
  }

  defaultOf(row: Row): Row | undefined {
    return this.defaults?.get(row.key);
  }

  differs(row: Row): boolean {
    const standard = this.defaultOf(row);
    return standard !== undefined && standard.plain !== row.plain;
  }

  private replaceState(message: StateMessage): void {
    const { variables, ...state } = message;
    this.state = state;
    this.files = new Map(message.files.map((file) => [file.file, file]));
    for (const [file, known] of this.files) {
      if (known.accepted) {
        this.refusals.delete(file);
      }
    }
    const old = this.byKey;
    this.byKey = new Map();
    this.rows = variables.map((variable) => {
      const row = makeRow(variable);
      const known = old.get(row.key);
      if (known) {
        row.history = known.history;
      }
      this.byKey.set(row.key, row);
      return row;
    });
    this.structure++;
  }

  private applyChanges(changes: Change[], time: number): void {
    const now = performance.now();
    let hasNew = false;
    for (const change of changes) {
      this.changesSeen++;
      const key = keyOf(change.name, change.types);
      let row = this.byKey.get(key);
      if (change.new === undefined) {
        if (row) {
          row.isGone = true;
          this.byKey.delete(key);
          hasNew = true;
        }
        continue;
      }
      if (!row) {
        row = makeRow({ name: change.name, types: change.types, value: change.new, text: change.newText });
        this.byKey.set(key, row);
        hasNew = true;
      }
      row.before = change.old === undefined ? "(new)" : shownText(change.types, change.old, change.oldText);
      row.value = change.new;
      row.shown = shownText(change.types, change.new, change.newText);
      row.plain = plainText(change.new, change.newText);
      row.changedAt = now;
      row.history.unshift({ time, old: row.before, new: row.shown });
      row.history.length = Math.min(row.history.length, kMostHistory);
    }
    if (hasNew) {
      this.rows = [...this.byKey.values()].sort((a, b) =>
        a.name < b.name ? -1 : a.name > b.name ? 1 : a.types[0] < b.types[0] ? -1 : 1,
      );
    }
    this.structure++;
  }

  private addLog(message: LogMessage): void {
    this.loose.push(message);
    if (this.loose.length > kMostLogLines) {
      this.loose.splice(0, this.loose.length - kMostLogLines);
    }
  }

  private addEvent(message: EventMessage): void {
    this.events.unshift({ id: this.nextId++, time: Date.parse(message.time), message, log: this.loose });
    this.logLines += this.loose.length;
    this.keptChanges += changesOf(message);
    this.loose = [];
    const isTooMuch = () =>
      this.events.length > kMostEvents || this.logLines > kMostLogLines || this.keptChanges > kMostKeptChanges;
    while (isTooMuch() && this.events.length > 1) {
      const dropped = this.events.pop();
      this.logLines -= dropped?.log.length ?? 0;
      this.keptChanges -= dropped ? changesOf(dropped.message) : 0;
    }
  }

  private addPoint(time: number, changes: number, milliseconds: number | undefined): void {
    this.points.push({ time: time / 1000, changes, milliseconds: milliseconds ?? null });
    if (this.points.length > kMostPoints) {
      this.points.splice(0, this.points.length - kMostPoints);
    }
  }
}

export const store = new Store();

// Draws the component again whenever something changes.
export function useStore(): Store {
  const [, draw] = useReducer((count: number) => count + 1, 0);
  useEffect(() => store.subscribe(() => draw(undefined as never)), []);
  return store;
}
