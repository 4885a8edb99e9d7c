// What the schemas say of a place in one of the files: for completion and hover.
import { syntaxTree } from "@codemirror/language";
import type { EditorState } from "@codemirror/state";
import type { SyntaxNode } from "@lezer/common";
import hmdList from "../../schemas/ZQ2_HmdList.schema.json";
import quality from "../../schemas/ZQ2_QualityPreset.schema.json";
import settings from "../../schemas/ZQ2_serverSetting.schema.json";

export interface Schema {
  title?: string;
  description?: string;
  type?: string | string[];
  properties?: Record<string, Schema>;
  additionalProperties?: boolean | Schema;
  items?: Schema;
  anyOf?: Schema[];
  enum?: unknown[];
  default?: unknown;
  minimum?: number;
  maximum?: number;
  $ref?: string;
  definitions?: Record<string, Schema>;
}

const kSchemas: Record<string, Schema> = {
  "ZQ2_serverSetting.setting": settings as Schema,
  "ZQ2_HmdList.json": hmdList as Schema,
  "ZQ2_QualityPreset.json": quality as Schema,
};

function resolve(root: Schema, schema: Schema | undefined): Schema[] {
  if (!schema) {
    return [];
  }
  if (schema.$ref) {
    return resolve(root, root.definitions?.[schema.$ref.replace("#/definitions/", "")]);
  }
  return schema.anyOf ? [schema, ...schema.anyOf.flatMap((each) => resolve(root, each))] : [schema];
}

function step(root: Schema, schemas: Schema[], key: string | null): Schema[] {
  return schemas.flatMap((schema) => {
    if (key === null) {
      return resolve(root, schema.items);
    }
    const known = schema.properties?.[key];
    if (known) {
      return resolve(root, known);
    }
    return typeof schema.additionalProperties === "object" ? resolve(root, schema.additionalProperties) : [];
  });
}

export const unquote = (text: string) => text.replace(/^"|"$/g, "");

export function keyOfProperty(state: EditorState, property: SyntaxNode): string {
  const name = property.getChild("PropertyName");
  return name ? unquote(state.sliceDoc(name.from, name.to)) : "";
}

// The keys from the root to a node; null for an element of an array.
function pathTo(state: EditorState, node: SyntaxNode): (string | null)[] {
  const path: (string | null)[] = [];
  for (let at: SyntaxNode | null = node; at; at = at.parent) {
    if (at.name === "Property") {
      path.unshift(keyOfProperty(state, at));
    } else if (at.parent?.name === "Array") {
      path.unshift(null);
    }
  }
  return path;
}

// The schemas of the value that `node` is or is in.
export function schemasAt(file: string, state: EditorState, node: SyntaxNode): Schema[] {
  const root = kSchemas[file];
  return pathTo(state, node).reduce((schemas, key) => step(root, schemas, key), resolve(root, root));
}

export function nodeAt(state: EditorState, position: number, side: -1 | 0 | 1 = -1): SyntaxNode {
  return syntaxTree(state).resolveInner(position, side);
}

export function describe(schemas: Schema[]): string[] {
  const lines = new Set<string>();
  for (const schema of schemas) {
    if (schema.description) {
      lines.add(schema.description);
    }
    const facts: string[] = [];
    if (schema.type) {
      facts.push([schema.type].flat().join(" or "));
    }
    if (schema.minimum !== undefined || schema.maximum !== undefined) {
      facts.push(`${schema.minimum ?? "…"} to ${schema.maximum ?? "…"}`);
    }
    if (schema.enum) {
      facts.push(`one of ${schema.enum.map((each) => JSON.stringify(each)).join(", ")}`);
    }
    if (schema.default !== undefined) {
      facts.push(`default ${JSON.stringify(schema.default)}`);
    }
    if (facts.length > 0) {
      lines.add(facts.join("; "));
    }
  }
  return [...lines];
}
