// Reads variable packets of the settings module (docs/variable-packet.md), as the module itself reads them.
//
//     const { variables } = readPacket(bytes);
//     const bitrate = variables.find((v) => v.name === "Settings.CurrentBitrate" && v.type === "integer");
//
// For Node.js and browsers (ES2020), without dependencies.

// One variable. Names are unique within a type only: "A" may be a bool and an integer. Integers have 64 bits and are
// therefore bigint.
export type Variable = { readonly name: string } & (
  | { readonly type: "bool"; readonly value: boolean }
  | { readonly type: "integer"; readonly value: bigint }
  | { readonly type: "double"; readonly value: number }
  | { readonly type: "string"; readonly value: string }
  | { readonly type: "binary"; readonly value: Uint8Array }
);

export interface PacketContent {
  readonly variables: Variable[];
  // Where reading stopped. An offset before the end means damage there: what follows is lost.
  readonly offset: number;
}

// The bytes do not begin with a packet's header.
export class NotAPacketError extends Error {}

const HEADER_SIZE = 8; // magic, version, encoding of names and texts
const RECORD_SIZE = 12; // type, length of the name, length of the value
const UTF16 = 0;
const UTF8 = 65001;

// A record of an unknown type, or with too few bytes for its type, is skipped. Throws NotAPacketError for bytes without
// a packet's header. Binary values are views of `packet`.
export function readPacket(packet: Uint8Array): PacketContent {
  if (packet.length < HEADER_SIZE || packet[0] !== 0xbf || packet[1] !== 0xfe || packet[2] !== 0xeb) {
    throw new NotAPacketError("the bytes do not begin with BF FE EB and 5 more bytes of header");
  }
  const view = new DataView(packet.buffer, packet.byteOffset, packet.byteLength);
  const encoding = view.getUint32(4, true);
  const variables: Variable[] = [];
  let offset = HEADER_SIZE;
  while (offset + RECORD_SIZE <= packet.length) {
    const nameLength = view.getInt32(offset + 4, true);
    const valueLength = view.getInt32(offset + 8, true);
    const start = offset + RECORD_SIZE;
    const end = start + nameLength + valueLength;
    if (nameLength <= 0 || valueLength < 0 || end > packet.length) {
      break;
    }
    const name = textOf(packet.subarray(start, start + nameLength), encoding);
    if (name === "") {
      break;
    }
    const variable = variableOf(name, view.getUint32(offset, true), packet.subarray(start + nameLength, end), encoding);
    if (variable) {
      variables.push(variable);
    }
    offset = end;
  }
  return { variables, offset };
}

// Of a value that is longer than its type needs, the first bytes count.
function variableOf(name: string, type: number, data: Uint8Array, encoding: number): Variable | undefined {
  const view = new DataView(data.buffer, data.byteOffset, data.byteLength);
  switch (type) {
    case 1:
      return data.length < 1 ? undefined : { name, type: "bool", value: data[0] !== 0 };
    case 2:
      return data.length < 8 ? undefined : { name, type: "integer", value: view.getBigInt64(0, true) };
    case 3:
      return data.length < 8 ? undefined : { name, type: "double", value: view.getFloat64(0, true) };
    case 4:
      return { name, type: "string", value: textOf(data, encoding) };
    case 5:
      return { name, type: "binary", value: data };
    default:
      return undefined;
  }
}

// A name or a text: without an odd last byte, and up to its first zero character.
function textOf(data: Uint8Array, encoding: number): string {
  let text = "";
  if (encoding === UTF16) {
    // Not by TextDecoder, which would replace unpaired surrogates.
    for (let i = 0; i + 1 < data.length; i += 2) {
      text += String.fromCharCode(data[i] | (data[i + 1] << 8));
    }
  } else if (encoding === UTF8) {
    text = new TextDecoder("utf-8", { ignoreBOM: true }).decode(data);
  }
  const zero = text.indexOf("\0");
  return zero < 0 ? text : text.slice(0, zero);
}
