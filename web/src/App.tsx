import type { ComponentType } from "preact";
import { useEffect, useState } from "preact/hooks";
import { goTo, kViews, useRoute, type View } from "./route";
import { useStore } from "./store";
import { VariablesView } from "./views/Variables";

// The first view is part of the first load; the others are loaded when they are needed.
const kLoaders: Record<Exclude<View, "variables">, () => Promise<ComponentType>> = {
  headsets: () => import("./views/Headsets").then((module) => module.HeadsetsView),
  files: () => import("./views/Files").then((module) => module.FilesView),
  timeline: () => import("./views/Timeline").then((module) => module.TimelineView),
  machine: () => import("./views/Machine").then((module) => module.MachineView),
  packet: () => import("./views/Packet").then((module) => module.PacketView),
};

const kNames: Record<View, string> = {
  variables: "Variables",
  headsets: "Headsets",
  files: "Files",
  timeline: "Timeline",
  machine: "Machine",
  packet: "Packet",
};

function useView(view: View): ComponentType | null {
  const [loaded, setLoaded] = useState<Partial<Record<View, ComponentType>>>({ variables: VariablesView });
  useEffect(() => {
    if (view !== "variables" && !loaded[view]) {
      kLoaders[view]()
        .then((component) => setLoaded((known) => ({ ...known, [view]: component })))
        .catch(() => undefined);
    }
  }, [view, loaded]);
  return loaded[view] ?? null;
}

export function App() {
  const { view } = useRoute();
  const Shown = useView(view);
  useEffect(() => {
    document.title = `${kNames[view]} – Settings`;
  }, [view]);
  return (
    <>
      <a class="skip" href="#main" onClick={(event) => skip(event)}>
        Skip to the content
      </a>
      <header class="top">
        <h1>Settings</h1>
        <nav aria-label="Views">
          <ul>
            {kViews.map((each) => (
              <li key={each}>
                <a href={`#${each}`} aria-current={each === view ? "page" : undefined}>
                  {kNames[each]}
                  <FileBadge view={each} />
                </a>
              </li>
            ))}
          </ul>
        </nav>
      </header>
      <main id="main" tabIndex={-1} aria-label={kNames[view]}>
        {Shown ? <Shown /> : <p class="loading">Loading …</p>}
      </main>
      <StatusBar />
    </>
  );
}

function skip(event: Event): void {
  event.preventDefault();
  document.getElementById("main")?.focus();
}

function FileBadge({ view }: { view: View }) {
  const store = useStore();
  const wrong = [...store.files.values()].filter((file) => !file.exists || !file.accepted).length;
  if (view !== "files" || wrong === 0) {
    return null;
  }
  return (
    <span class="badge" role="img" aria-label={`${wrong} refused or missing`}>
      {wrong}
    </span>
  );
}

interface Status {
  tone: "good" | "busy" | "warn" | "bad";
  text: string;
  action?: { text: string; run: () => void };
}

function readStatus(store: ReturnType<typeof useStore>): Status {
  if (store.connection === "ended") {
    return { tone: "bad", text: "zqsettings has ended. Start it again to go on; this page reconnects if the address stays." };
  }
  if (store.connection === "lost") {
    return { tone: "bad", text: "Connection lost. Trying again …" };
  }
  if (!store.state) {
    return { tone: "busy", text: "Connecting …" };
  }
  if (!store.state.folderExists) {
    return { tone: "bad", text: `The data folder ${store.state.folder} is missing.` };
  }
  const refusal = [...store.refusals.values()][0];
  if (refusal) {
    const place = refusal.line ? `, line ${refusal.line}, column ${refusal.column}` : "";
    return {
      tone: "warn",
      text: refusal.outcome === "missing" ? `${refusal.file} is missing.` : `${refusal.file} is refused${place}: ${refusal.reason}.`,
      action: { text: "Show", run: () => goTo("files", refusal.line ? `${refusal.file}:${refusal.line}` : refusal.file) },
    };
  }
  if (store.state.mode === "copy") {
    return { tone: "warn", text: `${store.state.reason}.` };
  }
  return { tone: "good", text: `Live on ${store.state.folder}` };
}

// Always shown and always of the same height, so that nothing moves when something goes wrong.
function StatusBar() {
  const store = useStore();
  const status = readStatus(store);
  return (
    <footer class={`status ${status.tone}`}>
      <span class="dot" aria-hidden="true" />
      <span class="status-text" role="status" title={status.text}>
        {status.text}
      </span>
      {status.action && (
        <button type="button" onClick={status.action.run}>
          {status.action.text}
        </button>
      )}
      <span class="count">{store.rows.length.toLocaleString("en")} variables</span>
    </footer>
  );
}
