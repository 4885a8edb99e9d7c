// The connection to zqsettings: messages into the store, questions and their answers. Reconnects by itself.
import type { AnswerMessage, Message, WireVariable } from "./protocol";
import { store } from "./store";

interface Waiting {
  resolve: (result: never) => void;
  reject: (reason: Error) => void;
}

const kFirstDelay = 250;
const kLongestDelay = 4000;

let socket: WebSocket | null = null;
let delay = kFirstDelay;
let lastId = 0;
const waiting = new Map<number, Waiting>();

const address = () => new URL("live", location.href.replace(/^http/, "ws")).href.replace(/#.*$/, "");

export function connect(): void {
  const opened = new WebSocket(address());
  opened.binaryType = "arraybuffer";
  socket = opened;
  opened.onmessage = (event) => receive(JSON.parse(event.data as string) as Message);
  opened.onclose = () => {
    if (socket !== opened) {
      return;
    }
    waiting.forEach((each) => each.reject(new Error("the connection was lost")));
    waiting.clear();
    if (store.connection !== "ended") {
      store.setConnection("lost");
    }
    setTimeout(connect, delay);
    delay = Math.min(delay * 2, kLongestDelay);
  };
}

function receive(message: Message): void {
  if (message.kind === "answer") {
    answer(message);
    return;
  }
  store.apply(message);
  if (message.kind === "state") {
    delay = kFirstDelay;
    store.setConnection("connected");
    ask<{ messages: Message[] }>("history")
      .then((result) => store.replaceHistory(result.messages))
      .catch(() => undefined);
    if (!store.defaults) {
      ask<{ variables: WireVariable[] }>("defaults")
        .then((result) => store.setDefaults(result.variables))
        .catch(() => undefined);
    }
  }
}

function answer(message: AnswerMessage): void {
  const asked = waiting.get(message.id);
  waiting.delete(message.id);
  if (message.ok) {
    asked?.resolve(message.result as never);
  } else {
    asked?.reject(new Error(message.reason));
  }
}

function send<Result>(make: (id: number) => string | ArrayBuffer): Promise<Result> {
  return new Promise<Result>((resolve, reject) => {
    if (!socket || socket.readyState !== WebSocket.OPEN) {
      reject(new Error("there is no connection to zqsettings"));
      return;
    }
    const id = ++lastId;
    waiting.set(id, { resolve: resolve as (result: never) => void, reject });
    socket.send(make(id));
  });
}

export function ask<Result>(what: string, members: object = {}): Promise<Result> {
  return send<Result>((id) => JSON.stringify({ version: 1, kind: "ask", id, what, ...members }));
}

// A binary question: its number in four bytes, then a packet.
export function askPacket<Result>(packet: ArrayBuffer): Promise<Result> {
  return send<Result>((id) => {
    const frame = new Uint8Array(packet.byteLength + 4);
    new DataView(frame.buffer).setUint32(0, id, true);
    frame.set(new Uint8Array(packet), 4);
    return frame.buffer;
  });
}
