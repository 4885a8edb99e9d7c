// Prints what examples/packet/zqPacket.ts reads: print_packets.js COMPILED_READER FILE...
// The form is that of packet_readers_test.py: for each file its offset, a line for each variable, and an empty line.
"use strict";
const fs = require("fs");
const { readPacket, NotAPacketError } = require(process.argv[2]);

const TYPES = ["", "bool", "integer", "double", "string", "binary"];

function exact(variable) {
  switch (variable.type) {
    case "bool":
      return variable.value ? "1" : "0";
    case "double": {
      const bytes = Buffer.alloc(8);
      bytes.writeDoubleBE(variable.value);
      return bytes.toString("hex");
    }
    case "string":
      return Buffer.from(variable.value, "utf16le").toString("hex");
    case "binary":
      return Buffer.from(variable.value).toString("hex");
    default:
      return variable.value.toString();
  }
}

function linesOf(file) {
  try {
    const { variables, offset } = readPacket(fs.readFileSync(file));
    return [`${offset}`].concat(
      variables.map((v) => `${TYPES.indexOf(v.type)} ${Buffer.from(v.name, "utf16le").toString("hex")} ${exact(v)}`));
  } catch (error) {
    if (error instanceof NotAPacketError) {
      return ["no packet"];
    }
    throw error;
  }
}

for (const file of process.argv.slice(3)) {
  process.stdout.write(linesOf(file).join("\n") + "\n\n");
}
