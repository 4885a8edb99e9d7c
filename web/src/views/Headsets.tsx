// Headsets side by side: settings, requests and presets, with differences marked.
import { useMemo, useState } from "preact/hooks";
import { goTo } from "../route";
import { useStore, type Row } from "../store";

const kPresets = ["Quality", "Balance", "Performance", "Ultra"];
type Part = "settings" | "requests" | "presets";
const kParts: Part[] = ["settings", "requests", "presets"];
const kPartNames: Record<Part, string> = { settings: "Settings", requests: "Requests", presets: "Presets" };

interface Headset {
  name: string;
  settings: Map<string, Row>;
  requests: Map<string, Row>;
  presets: Map<string, Map<string, Row>>; // by preset, then member
}

function readHeadsets(rows: Row[]): Headset[] {
  const names = new Set<string>();
  for (const row of rows) {
    if (/^HmdNameList\.\d+$/.test(row.name)) {
      names.add(row.plain);
    } else if (/^CL\..+\.HD$/.test(row.name)) {
      names.add(row.plain);
    }
  }
  const headsets = [...names].filter(Boolean).map((name) => ({
    name,
    settings: new Map<string, Row>(),
    requests: new Map<string, Row>(),
    presets: new Map<string, Map<string, Row>>(),
  }));
  // Longer names first, since one may begin with a shorter one.
  const byLength = [...headsets].sort((a, b) => b.name.length - a.name.length);
  for (const row of rows) {
    if (row.name.startsWith("CL.")) {
      const headset = byLength.find((each) => row.name.startsWith(`CL.${each.name}.`));
      if (headset) {
        addRow(headset, row);
      }
    }
  }
  return headsets;
}

function addRow(headset: Headset, row: Row): void {
  const rest = row.name.slice(headset.name.length + 4);
  const [first, ...more] = rest.split(".");
  if (kPresets.includes(first) && more.length > 0) {
    const preset = headset.presets.get(first) ?? new Map<string, Row>();
    headset.presets.set(first, preset.set(more.join("."), row));
  } else if (/^-?\d+\.-?\d+\.-?\d+/.test(rest)) {
    headset.requests.set(rest, row);
  } else {
    headset.settings.set(rest, row);
  }
}

const byNumbers = (a: string, b: string) => a.localeCompare(b, "en", { numeric: true });

// The value that most columns have; other values are marked.
function commonValue(values: (string | undefined)[]): string | undefined {
  const counts = new Map<string, number>();
  values.forEach((value) => value !== undefined && counts.set(value, (counts.get(value) ?? 0) + 1));
  const best = [...counts].sort((a, b) => b[1] - a[1])[0];
  return best && (best[1] > 1 || counts.size === 1) ? best[0] : undefined;
}

interface MatrixProps {
  caption: string;
  columns: { name: string; cells: Map<string, Row> }[];
  isDifferentOnly: boolean;
}

function Matrix({ caption, columns, isDifferentOnly }: MatrixProps) {
  const members = [...new Set(columns.flatMap((column) => [...column.cells.keys()]))].sort(byNumbers);
  const lines = members
    .map((member) => {
      const cells = columns.map((column) => column.cells.get(member));
      return { member, cells, isSame: new Set(cells.map((cell) => cell?.shown)).size === 1 };
    })
    .filter((line) => !isDifferentOnly || !line.isSame);
  return (
    <div class="matrix" tabIndex={0} role="region" aria-label={caption}>
      <table>
        <caption class="sr">{caption}</caption>
        <thead>
          <tr>
            <th scope="col">Name</th>
            {columns.map((column) => (
              <th scope="col" key={column.name}>
                {column.name}
              </th>
            ))}
          </tr>
        </thead>
        <tbody>
          {lines.map(({ member, cells, isSame }) => {
            const common = commonValue(cells.map((cell) => cell?.shown));
            return (
              <tr key={member}>
                <th scope="row">{member}</th>
                {cells.map((cell, index) => (
                  <Cell key={index} cell={cell} mark={isSame ? "" : common === undefined ? "varies" : cell?.shown === common ? "" : "differs"} />
                ))}
              </tr>
            );
          })}
        </tbody>
      </table>
      {lines.length === 0 && <p class="empty">{members.length === 0 ? "There are none." : "Nothing differs."}</p>}
    </div>
  );
}

// "differs" from what most columns have, or "varies" where hardly two agree.
function Cell({ cell, mark }: { cell: Row | undefined; mark: "" | "varies" | "differs" }) {
  if (!cell) {
    return (
      <td class={`none ${mark}`}>
        <span aria-label="not set">–</span>
      </td>
    );
  }
  return (
    <td class={mark}>
      <button type="button" class="cell" title={cell.name} onClick={() => goTo("variables", cell.name)}>
        {cell.shown}
        {mark && <span class="sr"> ({mark})</span>}
      </button>
    </td>
  );
}

export function HeadsetsView() {
  const { rows, structure } = useStore();
  const headsets = useMemo(() => readHeadsets(rows), [rows, structure]);
  const [part, setPart] = useState<Part>("settings");
  const [isDifferentOnly, setIsDifferentOnly] = useState(false);
  const [chosen, setChosen] = useState("");
  const inUse = headsets.find((headset) => headset.name === chosen) ?? headsets[0];
  const columns =
    part === "presets"
      ? kPresets.map((preset) => ({ name: preset, cells: inUse?.presets.get(preset) ?? new Map<string, Row>() }))
      : headsets.map((headset) => ({ name: headset.name, cells: headset[part] }));
  return (
    <section class="pane">
      <div class="tools">
        <div class="tabs" role="group" aria-label="What is compared">
          {kParts.map((each) => (
            <button key={each} type="button" aria-pressed={part === each} onClick={() => setPart(each)}>
              {kPartNames[each]}
            </button>
          ))}
        </div>
        {part === "presets" && (
          <label>
            <span class="sr">Headset</span>
            <select value={inUse?.name} onChange={(event) => setChosen(event.currentTarget.value)}>
              {headsets.map((headset) => (
                <option key={headset.name}>{headset.name}</option>
              ))}
            </select>
          </label>
        )}
        <label class="check">
          <input
            type="checkbox"
            checked={isDifferentOnly}
            onChange={(event) => setIsDifferentOnly(event.currentTarget.checked)}
          />
          Only what differs
        </label>
      </div>
      <Matrix caption={`${kPartNames[part]} of the headsets`} columns={columns} isDifferentOnly={isDifferentOnly} />
    </section>
  );
}
