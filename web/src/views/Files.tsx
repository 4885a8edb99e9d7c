// The three files in an editor, with how the module would read each text, and copies of older versions.
import type { EditorView } from "@codemirror/view";
import { useEffect, useRef, useState } from "preact/hooks";
import { goToLine, makeEditor, showProblems } from "../editor";
import { ask } from "../live";
import type { Change, CopyEntry, FileContent, Findings } from "../protocol";
import { goTo, useRoute } from "../route";
import { shownText, useStore } from "../store";

const kFiles = ["ZQ2_serverSetting.setting", "ZQ2_HmdList.json", "ZQ2_QualityPreset.json"];
const kTitles: Record<string, string> = {
  "ZQ2_serverSetting.setting": "Server settings",
  "ZQ2_HmdList.json": "Headset list",
  "ZQ2_QualityPreset.json": "Quality presets",
};
const kCheckAfterMilliseconds = 120;

// Unsaved text survives a switch to another view.
const drafts = new Map<string, { text: string; base: FileContent }>();

interface Preview {
  accepted: boolean;
  changes: Change[];
}

function readTarget(rest: string): { file: string; line: number } {
  const [name, line] = rest.split(":");
  return { file: kFiles.includes(name) ? name : kFiles[0], line: Number(line) || 0 };
}

export function FilesView() {
  const { rest } = useRoute();
  const { files } = useStore();
  const { file, line } = readTarget(rest);
  return (
    <section class="pane files">
      <div class="tools">
        <div class="tabs" role="group" aria-label="File">
          {kFiles.map((each) => {
            const state = files.get(each);
            const isWrong = state && (!state.exists || !state.accepted);
            return (
              <button key={each} type="button" aria-pressed={each === file} onClick={() => goTo("files", each)}>
                {kTitles[each]}
                {isWrong && <span class="badge">{state.exists ? "refused" : "missing"}</span>}
              </button>
            );
          })}
        </div>
      </div>
      <FileEditor key={file} file={file} line={line} />
    </section>
  );
}

function FileEditor({ file, line }: { file: string; line: number }) {
  const { files, state, connection } = useStore();
  const box = useRef<HTMLDivElement>(null);
  const view = useRef<EditorView | null>(null);
  const base = useRef<FileContent | null>(null);
  const [text, setText] = useState("");
  const [content, setContent] = useState<FileContent | null>(null);
  const [findings, setFindings] = useState<Findings | null>(null);
  const [preview, setPreview] = useState<Preview | null>(null);
  const [fault, setFault] = useState("");
  const [said, setSaid] = useState("");
  const [canInsist, setCanInsist] = useState(false);
  const saveNow = useRef<() => void>(() => undefined);

  const isWritable = state?.writable ?? false;
  const isChanged = content !== null && text !== content.text;
  const diskHash = files.get(file)?.exists === false ? "" : (files.get(file)?.hash ?? "");
  const isStale = content !== null && connection === "connected" && diskHash !== content.hash;

  const show = (loaded: FileContent, shown: string) => {
    base.current = loaded;
    setContent(loaded);
    setText(shown);
    setPreview(null);
    setFault("");
    view.current?.destroy();
    if (box.current) {
      view.current = makeEditor({
        parent: box.current,
        file,
        text: shown,
        isReadOnly: !isWritable,
        onChange: setText,
        onSave: () => saveNow.current(),
      });
      if (line > 0) {
        goToLine(view.current, line);
      }
    }
  };
  const load = () =>
    ask<FileContent>("file", { file })
      .then((loaded) => show(loaded, loaded.text))
      .catch((error: Error) => setFault(error.message));

  const isConnected = connection === "connected";
  useEffect(() => {
    const draft = drafts.get(file);
    if (draft) {
      show(draft.base, draft.text);
    } else if (isConnected && !content) {
      void load();
    }
    return () => {
      view.current?.destroy();
      view.current = null;
    };
  }, [file, isConnected]);

  useEffect(() => {
    if (view.current && line > 0) {
      goToLine(view.current, line);
    }
  }, [line]);

  // Only an editor without changes follows the disk, so that nothing typed is lost.
  useEffect(() => {
    if (isStale && !isChanged && isConnected) {
      void load();
    }
  }, [isStale, isChanged, isConnected]);

  useEffect(() => {
    if (content && isChanged) {
      drafts.set(file, { text, base: content });
    } else {
      drafts.delete(file);
    }
    if (!content || !isConnected) {
      return;
    }
    let isWanted = true;
    const timer = setTimeout(() => {
      ask<Findings>("check", { file, text })
        .then((result) => {
          if (isWanted) {
            setFindings(result);
            if (view.current) {
              showProblems(view.current, result.problems);
            }
          }
        })
        .catch(() => undefined);
    }, kCheckAfterMilliseconds);
    return () => {
      isWanted = false;
      clearTimeout(timer);
    };
  }, [text, content, isConnected]);

  const done = (what: string) => {
    setSaid(what);
    setTimeout(() => setSaid(""), 4000);
  };
  const save = (insist: boolean) => {
    if (!content) {
      return;
    }
    setFault("");
    setCanInsist(false);
    ask<{ hash: string }>("write", { file, text, hash: content.hash, insist })
      .then(({ hash }) => {
        drafts.delete(file);
        setContent({ ...content, text, hash, exists: true });
        setPreview(null);
        done("Saved.");
      })
      .catch((error: Error) => {
        setFault(error.message);
        setCanInsist(error.message.includes("would refuse"));
      });
  };
  saveNow.current = () => save(false);
  const replaceText = (next: string) => {
    const editor = view.current;
    editor?.dispatch({ changes: { from: 0, to: editor.state.doc.length, insert: next } });
  };
  const fix = () =>
    ask<{ text: string }>("fix", { file, text })
      .then((result) => replaceText(result.text))
      .catch((error: Error) => setFault(error.message));
  const look = () =>
    ask<Preview>("preview", { file, text })
      .then(setPreview)
      .catch((error: Error) => setFault(error.message));

  const errors = findings?.problems.filter((problem) => problem.severity === "error").length ?? 0;
  return (
    <>
      <div class="tools">
        <button type="button" class="main" disabled={!isChanged && content?.exists} onClick={() => save(false)}>
          Save
        </button>
        <button type="button" onClick={look} disabled={!content}>
          What would change
        </button>
        <button type="button" onClick={fix} disabled={!findings?.fixable || !isWritable}>
          Fix what can be fixed
        </button>
        <button type="button" onClick={() => void load()} disabled={!isChanged}>
          Discard
        </button>
        <span class={findings && !findings.accepted ? "verdict bad" : "verdict"} aria-live="polite">
          {said || (findings ? (findings.accepted ? "The module accepts this." : `The module refuses this: ${errors} ${errors === 1 ? "error" : "errors"}.`) : "")}
        </span>
      </div>
      {(fault || (isStale && isChanged)) && (
        <div class="note" role="alert">
          {fault ? `${fault}.` : "The file was changed on disk while you were typing."}
          {canInsist && (
            <button type="button" onClick={() => save(true)}>
              Save anyway
            </button>
          )}
          {isStale && isChanged && (
            <button type="button" onClick={() => content && setContent({ ...content, hash: diskHash })}>
              Keep my text
            </button>
          )}
        </div>
      )}
      <div class="editor-split">
        <div class="code" ref={box} />
        <div class="side" tabIndex={0} role="region" aria-label="Findings and copies">
          {preview && <PreviewList preview={preview} onClose={() => setPreview(null)} />}
          <h2>Findings</h2>
          <FindingList findings={findings} onGo={(toLine, column) => view.current && (goToLine(view.current, toLine, column), view.current.focus())} />
          {content?.encoding && content.encoding !== "ASCII" && <p class="dim">The file on disk is {content.encoding}; a save writes it as UTF-8 without a byte order mark.</p>}
          <CopyList file={file} hash={content?.hash ?? ""} current={content?.text ?? ""} isWritable={isWritable} onTake={replaceText} />
        </div>
      </div>
    </>
  );
}

function PreviewList({ preview, onClose }: { preview: Preview; onClose: () => void }) {
  return (
    <section class="preview" aria-label="What would change">
      <div class="page-head">
        <h2>What would change</h2>
        <button type="button" class="quiet" aria-label="Close" onClick={onClose}>
          ✕
        </button>
      </div>
      {!preview.accepted && <p class="fault">The module refuses this text and would use the default file.</p>}
      {preview.accepted && preview.changes.length === 0 && <p class="dim">No variable changes.</p>}
      <ul class="changes">
        {preview.changes.map((change) => (
          <li key={change.name + change.types[0]}>
            {change.name} <span class="before">{change.old === undefined ? "(new)" : shownText(change.types, change.old, change.oldText)}</span> →{" "}
            {change.new === undefined ? "keeps its value until the server starts anew" : shownText(change.types, change.new, change.newText)}
          </li>
        ))}
      </ul>
    </section>
  );
}

function FindingList({ findings, onGo }: { findings: Findings | null; onGo: (line: number, column: number) => void }) {
  if (!findings) {
    return <p class="dim">Checking …</p>;
  }
  if (findings.problems.length === 0) {
    return <p class="dim">No problems found.</p>;
  }
  return (
    <ul class="findings">
      {findings.problems.map((problem, index) => (
        <li key={index} class={problem.severity}>
          <button type="button" class="link" onClick={() => onGo(problem.line, problem.column)}>
            {problem.severity}, line {problem.line}
          </button>
          : {problem.text}
          {problem.fix && <span class="fix">{problem.fix}</span>}
        </li>
      ))}
    </ul>
  );
}

interface CopyListProps {
  file: string;
  hash: string;
  current: string;
  isWritable: boolean;
  onTake: (text: string) => void;
}

function CopyList({ file, hash, current, isWritable, onTake }: CopyListProps) {
  const { events } = useStore();
  const [copies, setCopies] = useState<CopyEntry[]>([]);
  const [compared, setCompared] = useState<{ id: string; text: string } | null>(null);
  const [fault, setFault] = useState("");
  const last = events[0]?.id;
  useEffect(() => {
    ask<{ copies: CopyEntry[] }>("copies")
      .then((result) => setCopies(result.copies.filter((copy) => copy.file === file)))
      .catch(() => undefined);
  }, [file, hash, last]);
  const read = (id: string) => ask<FileContent>("copy", { copy: id });
  const restore = (copy: CopyEntry) => {
    setFault("");
    if (!copy.accepted) {
      read(copy.id)
        .then((content) => onTake(content.text))
        .catch((error: Error) => setFault(error.message));
      return;
    }
    ask("restore", { copy: copy.id, hash }).catch((error: Error) => setFault(error.message));
  };
  return (
    <>
      <h2>Copies</h2>
      {copies.length === 0 && (
        <p class="dim">
          None. Refused texts are kept here while zqsettings runs, and in the sub-folders “rejected” and “kept” where those exist.
        </p>
      )}
      <ul class="copies">
        {copies.map((copy) => (
          <li key={copy.id}>
            <span>
              {new Date(copy.modified).toLocaleString("en-GB")} <span class="dim">{copy.id.split("/")[0]}, {copy.bytes.toLocaleString("en")} bytes{copy.accepted ? "" : ", refused"}</span>
            </span>
            <span class="line">
              <button
                type="button"
                aria-pressed={compared?.id === copy.id}
                onClick={() =>
                  compared?.id === copy.id
                    ? setCompared(null)
                    : read(copy.id)
                        .then((content) => setCompared({ id: copy.id, text: content.text }))
                        .catch((error: Error) => setFault(error.message))
                }
              >
                Compare
              </button>
              <button type="button" disabled={!isWritable} onClick={() => restore(copy)}>
                {copy.accepted ? "Put back" : "Load into the editor"}
              </button>
            </span>
          </li>
        ))}
      </ul>
      {fault && <p class="fault" role="alert">{fault}.</p>}
      {compared && <Comparison key={compared.id} file={file} current={current} copy={compared.text} />}
    </>
  );
}

// The copy, with its differences from the current file.
function Comparison({ file, current, copy }: { file: string; current: string; copy: string }) {
  const box = useRef<HTMLDivElement>(null);
  useEffect(() => {
    if (!box.current) {
      return;
    }
    const view = makeEditor({
      parent: box.current,
      file,
      text: copy,
      isReadOnly: true,
      compareWith: current,
      onChange: () => undefined,
      onSave: () => undefined,
    });
    return () => view.destroy();
  }, []);
  return <div class="comparison" ref={box} />;
}
