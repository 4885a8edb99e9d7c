// A packet file taken apart: its variables, and where it is damaged.
import { useRef, useState } from "preact/hooks";
import { askPacket } from "../live";
import type { PacketContent } from "../protocol";
import { shownText } from "../store";

const kMostBytes = 15 * 1024 * 1024;
const kMostShown = 2000;

export function PacketView() {
  const [name, setName] = useState("");
  const [content, setContent] = useState<PacketContent | null>(null);
  const [fault, setFault] = useState("");
  const [isOver, setIsOver] = useState(false);
  const input = useRef<HTMLInputElement>(null);
  const read = async (file: File | undefined) => {
    if (!file) {
      return;
    }
    setName(file.name);
    setContent(null);
    setFault("");
    if (file.size > kMostBytes) {
      setFault("The file is larger than 15 MB");
      return;
    }
    try {
      setContent(await askPacket<PacketContent>(await file.arrayBuffer()));
    } catch (error) {
      setFault((error as Error).message);
    }
  };
  return (
    <section class="page">
      <h2>Packet</h2>
      <div
        class={isOver ? "drop over" : "drop"}
        onDragOver={(event) => {
          event.preventDefault();
          setIsOver(true);
        }}
        onDragLeave={() => setIsOver(false)}
        onDrop={(event) => {
          event.preventDefault();
          setIsOver(false);
          void read(event.dataTransfer?.files[0]);
        }}
      >
        <p>Drop a packet file here, as a host packed it or <code>zqsettings show --save-packet</code> wrote it.</p>
        <input
          ref={input}
          type="file"
          class="sr"
          tabIndex={-1}
          aria-label="Packet file"
          onChange={(event) => void read(event.currentTarget.files?.[0])}
        />
        <button type="button" onClick={() => input.current?.click()}>
          Choose a file
        </button>
      </div>
      <div aria-live="polite">
        {fault && <p class="fault">{fault}.</p>}
        {content && (
          <p>
            <strong>{name}</strong>: {content.bytes.toLocaleString("en")} bytes, {content.variables.length.toLocaleString("en")}{" "}
            variables, {content.problems.length === 0 ? "undamaged" : "damaged"}.
          </p>
        )}
        {content && content.problems.length > 0 && (
          <ul class="findings">
            {content.problems.map((problem) => (
              <li key={problem.offset} class="error">
                byte {problem.offset.toLocaleString("en")}: {problem.text}
              </li>
            ))}
          </ul>
        )}
      </div>
      {content && content.variables.length > 0 && (
        <div class="matrix" tabIndex={0} role="region" aria-label="Variables of the packet">
          <table>
            <caption class="sr">Variables of the packet</caption>
            <thead>
              <tr>
                <th scope="col">Name</th>
                <th scope="col">Type</th>
                <th scope="col">Value</th>
              </tr>
            </thead>
            <tbody>
              {content.variables.slice(0, kMostShown).map((variable, index) => (
                <tr key={index}>
                  <th scope="row">{variable.name}</th>
                  <td>{variable.types.join(", ")}</td>
                  <td>{shownText(variable.types, variable.value, variable.text)}</td>
                </tr>
              ))}
            </tbody>
          </table>
          {content.variables.length > kMostShown && <p class="empty">The first {kMostShown} are shown.</p>}
        </div>
      )}
    </section>
  );
}
