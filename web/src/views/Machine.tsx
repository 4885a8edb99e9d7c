// What the module finds out about this machine, and how long it takes.
import { useEffect, useState } from "preact/hooks";
import { ask } from "../live";
import type { Survey } from "../protocol";
import { useStore } from "../store";

const resultText = (result: number, objects: number) =>
  result < 0 ? `failed: 0x${(result >>> 0).toString(16).toUpperCase().padStart(8, "0")}` : `${objects} ${objects === 1 ? "object" : "objects"}`;

export function MachineView() {
  const { connection } = useStore();
  const [survey, setSurvey] = useState<Survey | null>(null);
  const [fault, setFault] = useState("");
  const [isBusy, setIsBusy] = useState(false);
  const look = () => {
    setIsBusy(true);
    ask<Survey>("survey")
      .then((result) => {
        setSurvey(result);
        setFault("");
      })
      .catch((error: Error) => setFault(error.message))
      .finally(() => setIsBusy(false));
  };
  const isConnected = connection === "connected";
  useEffect(() => {
    if (isConnected && !survey) {
      look();
    }
  }, [isConnected]);
  const longest = Math.max(1, ...(survey?.queries.map((query) => query.milliseconds) ?? []));
  return (
    <section class="page">
      <div class="page-head">
        <h2>This machine</h2>
        <button type="button" onClick={look} disabled={isBusy || !isConnected}>
          {isBusy ? "Looking …" : "Look again"}
        </button>
      </div>
      {fault && <p class="fault" role="alert">{fault}.</p>}
      <dl class="facts">
        {survey?.facts.map((fact) => (
          <div key={fact.name}>
            <dt>{fact.name}</dt>
            <dd>{fact.value || <span class="dim">not found</span>}</dd>
          </div>
        ))}
      </dl>
      <h2>Time of each query</h2>
      <ul class="bars">
        {survey?.queries.map((query) => (
          <li key={query.query}>
            <code>{query.query}</code>
            <div class="bar-line">
              <span class="bar" style={{ width: `${Math.max(0.5, (query.milliseconds / longest) * 100)}%` }} />
              <span class="bar-text">{query.milliseconds.toFixed(1)} ms</span>
            </div>
            <span class={query.result < 0 ? "fault" : "dim"}>{resultText(query.result, query.objects)}</span>
          </li>
        ))}
      </ul>
    </section>
  );
}
