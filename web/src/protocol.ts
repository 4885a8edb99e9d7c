// The message protocol of docs/dashboard.md, as far as the page reads it.

export type Value = boolean | number | string;
export type TypeName = "bool" | "integer" | "double" | "string" | "binary";

export interface WireVariable {
  name: string;
  types: TypeName[];
  value: Value;
  text?: string;
}

export interface Change {
  name: string;
  types: TypeName[];
  old?: Value;
  new?: Value;
  oldText?: string;
  newText?: string;
}

export interface Problem {
  severity: "error" | "warning";
  code: string;
  line: number;
  column: number;
  endLine: number;
  endColumn: number;
  text: string;
  fix: string;
}

export interface FileState {
  file: string;
  exists: boolean;
  accepted?: boolean;
  bytes?: number;
  modified?: string;
  hash?: string;
}

interface Base {
  version: number;
  time: string;
}

export interface StateMessage extends Base {
  kind: "state";
  tool: string;
  folder: string;
  folderExists: boolean;
  defaults: string;
  mode: "live" | "copy";
  writable: boolean;
  reason?: string;
  files: FileState[];
  variables: WireVariable[];
}

export interface ReloadMessage extends Base {
  kind: "reload";
  changes: Change[];
  milliseconds?: number;
}

export interface ChangeMessage extends Base {
  kind: "change";
  changes: Change[];
}

export interface SaveMessage extends Base {
  kind: "save";
  file: string;
  name?: string;
  value?: Value;
  outcome: "saved" | "refused";
  reason?: string;
}

export interface RefusalMessage extends Base {
  kind: "refusal";
  file: string;
  line?: number;
  column?: number;
  reason: string;
  fix?: string;
  outcome: "replaced" | "kept" | "missing";
  copy?: string;
  problems?: Problem[];
}

export interface AcceptMessage extends Base {
  kind: "accept";
  file: string;
}

export interface LogMessage extends Base {
  kind: "log";
  level: number;
  tag: string;
  text: string;
}

export interface NoticeMessage extends Base {
  kind: "notice";
  text: string;
}

export interface FileMessage extends Base {
  kind: "file";
  state: FileState;
}

export interface FolderMessage extends Base {
  kind: "folder";
  exists: boolean;
}

export interface EndMessage extends Base {
  kind: "end";
  reason: string;
}

export interface AnswerMessage extends Base {
  kind: "answer";
  id: number;
  ok: boolean;
  reason?: string;
  result?: unknown;
}

export type Message =
  | StateMessage
  | ReloadMessage
  | ChangeMessage
  | SaveMessage
  | RefusalMessage
  | AcceptMessage
  | LogMessage
  | NoticeMessage
  | FileMessage
  | FolderMessage
  | EndMessage
  | AnswerMessage;

// What the Timeline lists.
export type EventMessage =
  | ReloadMessage
  | ChangeMessage
  | SaveMessage
  | RefusalMessage
  | AcceptMessage
  | NoticeMessage
  | FolderMessage;

export interface Place {
  file: string;
  line: number;
  column: number;
  text: string;
  type: string;
  fate: "counts" | "written over" | "the key comes again";
}

export interface Explanation {
  name: string;
  places: Place[];
  defaults: Place[];
  save: { possible: boolean; reason?: string };
}

export interface FileContent {
  file: string;
  exists: boolean;
  text: string;
  encoding?: string;
  hash: string;
  accepted?: boolean;
  problems?: Problem[];
}

export interface Findings {
  accepted: boolean;
  problems: Problem[];
  fixable: boolean;
}

export interface CopyEntry {
  id: string;
  file: string;
  bytes: number;
  modified: string;
  accepted: boolean;
}

export interface Survey {
  facts: { name: string; value: string }[];
  queries: { query: string; result: number; objects: number; milliseconds: number }[];
}

export interface PacketContent {
  bytes: number;
  variables: WireVariable[];
  problems: { offset: number; text: string }[];
}
