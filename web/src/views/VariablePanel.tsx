// One variable: its value to edit, where it comes from, and its history since the page was opened.
import { useEffect, useRef, useState } from "preact/hooks";
import { ask } from "../live";
import type { Explanation, Place } from "../protocol";
import { goTo } from "../route";
import { store, useStore, type Row } from "../store";

interface Props {
  name: string;
  onClose: () => void;
}

const kAskAgainMilliseconds = 500;

function useExplanation(name: string, value: string): Explanation | null {
  const [explanation, setExplanation] = useState<Explanation | null>(null);
  useEffect(() => {
    let isWanted = true;
    let timer = 0;
    // There is no answer while a file is being replaced, or without a connection: ask again.
    const look = () =>
      ask<Explanation>("explain", { name })
        .then((result) => isWanted && setExplanation(result))
        .catch(() => isWanted && (timer = window.setTimeout(look, kAskAgainMilliseconds)));
    look();
    return () => {
      isWanted = false;
      clearTimeout(timer);
    };
  }, [name, value]);
  return explanation;
}

export function VariablePanel({ name, onClose }: Props) {
  const { rows } = useStore();
  const mine = rows.filter((row) => row.name === name);
  const explanation = useExplanation(name, mine.map((row) => row.plain).join("\n"));
  const heading = useRef<HTMLHeadingElement>(null);
  useEffect(() => heading.current?.focus(), []);
  return (
    <aside class="panel" aria-label={name} onKeyDown={(event) => event.key === "Escape" && onClose()}>
      <div class="panel-head">
        <h2 ref={heading} tabIndex={-1}>
          {name}
        </h2>
        <button type="button" class="quiet" onClick={onClose} aria-label="Close">
          ✕
        </button>
      </div>
      {mine.map((row, index) => (
        <ValueEditor key={row.key} row={row} save={index === 0 ? explanation?.save : undefined} />
      ))}
      <h3>Where it comes from</h3>
      {explanation ? <Places explanation={explanation} /> : <p class="dim">Looking …</p>}
      <h3>Since this page was opened</h3>
      <History row={mine[0]} />
    </aside>
  );
}

function ValueEditor({ row, save }: { row: Row; save?: Explanation["save"] }) {
  const [text, setText] = useState<string | null>(null);
  const [fault, setFault] = useState("");
  const [isBusy, setIsBusy] = useState(false);
  const standard = store.defaultOf(row);
  const write = (value: string) => {
    setIsBusy(true);
    setFault("");
    ask("save", { name: row.name, value })
      .then(() => setText(null))
      .catch((error: Error) => setFault(error.message))
      .finally(() => setIsBusy(false));
  };
  const isPossible = save?.possible ?? false;
  const shown = text ?? row.plain;
  const id = `value-${row.types[0]}`;
  return (
    <form
      class="editor"
      onSubmit={(event) => {
        event.preventDefault();
        write(shown);
      }}
    >
      <label for={id}>{row.types.join(", ")}</label>
      <div class="line">
        {row.types[0] === "bool" && isPossible ? (
          <select id={id} value={shown} disabled={isBusy} onChange={(event) => setText(event.currentTarget.value)}>
            <option>true</option>
            <option>false</option>
          </select>
        ) : (
          <input
            id={id}
            value={shown}
            readOnly={!isPossible}
            disabled={isBusy}
            spellcheck={false}
            autocomplete="off"
            aria-describedby={`${id}-note`}
            onInput={(event) => setText(event.currentTarget.value)}
          />
        )}
        <button type="submit" disabled={!isPossible || isBusy || text === null || text === row.plain}>
          Save
        </button>
      </div>
      <p id={`${id}-note`} class={fault ? "fault" : "dim"} role={fault ? "alert" : undefined}>
        {fault ? `Not saved: ${fault}.` : save && !isPossible ? `It can't be saved here: ${save.reason}.` : ""}
      </p>
      {standard && standard.plain !== row.plain && (
        <p class="default">
          The default is <code>{standard.shown}</code>
          <button type="button" disabled={!isPossible || isBusy} onClick={() => write(standard.plain)}>
            Put the default back
          </button>
        </p>
      )}
    </form>
  );
}

const openPlace = (place: Place) => goTo("files", `${place.file}:${place.line}`);

function Places({ explanation }: { explanation: Explanation }) {
  const { places, defaults } = explanation;
  if (places.length === 0) {
    return <p class="dim">No file sets this variable; the module determines its value.</p>;
  }
  return (
    <ul class="places">
      {[...places].reverse().map((place, index) => (
        <li key={index} class={place.fate === "counts" ? "" : "lost"}>
          {place.line > 0 ? (
            <button type="button" class="link" onClick={() => openPlace(place)}>
              {place.file}, line {place.line}, column {place.column}
            </button>
          ) : (
            <span>{place.file}, counted by the module</span>
          )}
          <code>{place.text}</code>
          {place.fate !== "counts" && <span class="tag">loses: {place.fate}</span>}
        </li>
      ))}
      {defaults
        .filter((place) => place.fate === "counts")
        .map((place, index) => (
          <li key={`d${index}`} class="dim">
            default file, line {place.line} <code>{place.text}</code>
          </li>
        ))}
    </ul>
  );
}

function History({ row }: { row: Row | undefined }) {
  if (!row || row.history.length === 0) {
    return <p class="dim">It has not changed.</p>;
  }
  return (
    <ol class="history">
      {row.history.map((entry, index) => (
        <li key={index}>
          <time>{new Date(entry.time).toLocaleTimeString("en-GB")}</time> <span class="before">{entry.old}</span> → {entry.new}
        </li>
      ))}
    </ol>
  );
}
