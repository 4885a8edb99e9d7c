// A client of the live messages without a browser, which may also behave as no browser does.
import http from "node:http";
import net from "node:net";
import WebSocket from "ws";
import { until } from "./harness.mjs";

// One request; resolves with status, headers and body.
export function request(server, { path = server.url.pathname, method = "GET", headers = {}, body } = {}) {
  return new Promise((resolve, reject) => {
    const sent = http.request(
      { host: "127.0.0.1", port: server.url.port, path, method, headers: { Host: server.url.host, ...headers }, agent: false },
      (response) => {
        const parts = [];
        response.on("data", (part) => parts.push(part));
        response.on("end", () =>
          resolve({ status: response.statusCode, headers: response.headers, body: Buffer.concat(parts).toString() }),
        );
      },
    );
    sent.on("error", reject);
    sent.end(body);
  });
}

// Bytes as they are; resolves with the first line of the answer.
export function raw(server, bytes) {
  return new Promise((resolve, reject) => {
    const socket = net.connect(Number(server.url.port), "127.0.0.1", () => socket.write(bytes));
    let text = "";
    socket.on("data", (part) => (text += part));
    socket.on("close", () => resolve(text.split("\r\n")[0]));
    socket.on("error", reject);
  });
}

export class Client {
  static async open(server, { path = `${server.url.pathname}live`, headers = {} } = {}) {
    const client = new Client();
    client.messages = [];
    client.lastId = 0;
    client.socket = new WebSocket(`ws://${server.url.host}${path}`, { headers, maxPayload: 0 });
    // Before the socket opens: the first message may come along with the answer to the handshake.
    client.socket.on("message", (data) => client.messages.push(JSON.parse(data)));
    client.closed = new Promise((resolve) => client.socket.on("close", (code) => resolve(code)));
    await new Promise((resolve, reject) => {
      client.socket.on("open", resolve);
      client.socket.on("unexpected-response", (_, response) => reject(new Error(`status ${response.statusCode}`)));
      client.socket.on("error", reject);
    });
    return client;
  }
  wait(kind, fits = () => true) {
    return until(() => this.messages.find((message) => message.kind === kind && fits(message)), `a message of the kind ${kind}`);
  }
  async ask(what, members = {}) {
    const id = ++this.lastId;
    this.socket.send(JSON.stringify({ version: 1, kind: "ask", id, what, ...members }));
    return this.wait("answer", (message) => message.id === id);
  }
  close() {
    this.socket.terminate();
  }
}
