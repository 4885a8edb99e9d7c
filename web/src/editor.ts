// The editor for one of the three files: JSON with the server's findings, and the schemas' completion and hover.
import { autocompletion, closeBrackets, closeBracketsKeymap, completionKeymap, type CompletionContext, type CompletionResult } from "@codemirror/autocomplete";
import { defaultKeymap, history, historyKeymap } from "@codemirror/commands";
import { json } from "@codemirror/lang-json";
import { bracketMatching, foldGutter, foldKeymap, HighlightStyle, indentOnInput, indentUnit, syntaxHighlighting } from "@codemirror/language";
import { lintGutter, lintKeymap, setDiagnostics, type Diagnostic } from "@codemirror/lint";
import { unifiedMergeView } from "@codemirror/merge";
import { highlightSelectionMatches, search, searchKeymap } from "@codemirror/search";
import { EditorState, type Extension, type Text } from "@codemirror/state";
import { drawSelection, EditorView, highlightActiveLine, highlightActiveLineGutter, hoverTooltip, keymap, lineNumbers } from "@codemirror/view";
import { tags } from "@lezer/highlight";
import type { Problem } from "./protocol";
import { describe, nodeAt, schemasAt, type Schema } from "./schema";

const nonce = document.querySelector<HTMLMetaElement>('meta[name="csp-nonce"]')?.content ?? "";

const colors = HighlightStyle.define([
  { tag: tags.propertyName, color: "var(--code-name)" },
  { tag: tags.string, color: "var(--code-text)" },
  { tag: [tags.number, tags.bool, tags.null], color: "var(--code-number)" },
  { tag: [tags.separator, tags.brace, tags.squareBracket], color: "var(--dim)" },
]);

const look = EditorView.theme({
  "&": { height: "100%", fontSize: "13px", backgroundColor: "var(--paper)", color: "var(--ink)" },
  "&.cm-focused": { outline: "none" },
  ".cm-scroller": { fontFamily: "var(--mono)", lineHeight: "1.55" },
  ".cm-gutters": { backgroundColor: "var(--paper)", color: "var(--dim)", border: "none" },
  ".cm-activeLine, .cm-activeLineGutter": { backgroundColor: "var(--hover)" },
  ".cm-cursor": { borderLeftColor: "var(--ink)" },
  "&.cm-focused .cm-selectionBackground, .cm-selectionBackground, .cm-selectionMatch": { backgroundColor: "var(--select) !important" },
  ".cm-tooltip": { backgroundColor: "var(--raised)", color: "var(--ink)", border: "1px solid var(--line)", borderRadius: "6px" },
  ".cm-tooltip-autocomplete ul li[aria-selected]": { backgroundColor: "var(--accent)", color: "var(--on-accent)" },
  ".cm-panels": { backgroundColor: "var(--raised)", color: "var(--ink)" },
  ".cm-hint": { padding: "6px 10px", maxWidth: "40ch" },
  ".cm-changedLine": { backgroundColor: "var(--accent-soft) !important" },
  ".cm-deletedChunk": { backgroundColor: "var(--bad-soft) !important" },
});

const kindOf = (schema: Schema) => [schema.type].flat().filter(Boolean).join(" or ");

function completeName(schemas: Schema[], from: number, to: number, isQuoted: boolean): CompletionResult | null {
  const options = schemas.flatMap((schema) =>
    Object.entries(schema.properties ?? {}).map(([name, each]) => ({
      label: name,
      type: "property",
      detail: kindOf(each),
      info: describe([each]).join("\n") || undefined,
      apply: isQuoted ? name : `"${name}": `,
    })),
  );
  return options.length > 0 ? { from, to, options, validFor: /^[\w.]*$/ } : null;
}

// For an existing value, all other values are offered as replacements.
function completeValue(schemas: Schema[], from: number, to?: number): CompletionResult | null {
  const values = new Set<string>();
  for (const schema of schemas) {
    schema.enum?.forEach((each) => values.add(JSON.stringify(each)));
    if ([schema.type].flat().includes("boolean")) {
      values.add("true").add("false");
    }
    if (schema.default !== undefined) {
      values.add(JSON.stringify(schema.default));
    }
  }
  const options = [...values].map((label) => ({ label, type: "constant" }));
  return options.length > 0 ? { from, to, options, filter: to === undefined } : null;
}

function complete(file: string, context: CompletionContext): CompletionResult | null {
  const node = nodeAt(context.state, context.pos);
  const word = context.matchBefore(/[\w.]*/);
  if (node.name === "PropertyName" && node.parent?.parent) {
    return completeName(schemasAt(file, context.state, node.parent.parent), node.from + 1, context.pos, true);
  }
  if (node.name === "Object" && context.explicit) {
    return completeName(schemasAt(file, context.state, node), word?.from ?? context.pos, context.pos, false);
  }
  const isValue = ["Property", "String", "True", "False", "Number", "⚠"].includes(node.name);
  if (isValue && (context.explicit || (word && word.from < word.to) || node.name === "String")) {
    const isThere = node.name !== "Property" && node.name !== "⚠";
    return completeValue(schemasAt(file, context.state, node), isThere ? node.from : (word?.from ?? context.pos), isThere ? node.to : undefined);
  }
  return null;
}

const hover = (file: string) =>
  hoverTooltip((view, position, side) => {
    const node = nodeAt(view.state, position, side);
    if (!/^(PropertyName|String|Number|True|False)$/.test(node.name)) {
      return null;
    }
    const lines = describe(schemasAt(file, view.state, node));
    if (lines.length === 0) {
      return null;
    }
    return {
      pos: node.from,
      end: node.to,
      above: true,
      create: () => {
        const dom = document.createElement("div");
        dom.className = "cm-hint";
        lines.forEach((line) => dom.appendChild(document.createElement("div")).append(line));
        return { dom };
      },
    };
  });

// Lines and columns count from 1, columns in characters: a pair of surrogates is one.
export function offsetOf(doc: Text, line: number, column: number): number {
  const found = doc.line(Math.max(1, Math.min(line, doc.lines)));
  let units = 0;
  for (const character of found.text) {
    if (--column <= 0) {
      break;
    }
    units += character.length;
  }
  return Math.min(found.from + units, found.to);
}

export function showProblems(view: EditorView, problems: Problem[]): void {
  const doc = view.state.doc;
  const diagnostics: Diagnostic[] = problems.map((problem) => {
    const from = offsetOf(doc, problem.line, problem.column);
    const to = Math.max(from, offsetOf(doc, problem.endLine, problem.endColumn));
    return { from, to, severity: problem.severity, message: problem.fix ? `${problem.text}; ${problem.fix}` : problem.text };
  });
  view.dispatch(setDiagnostics(view.state, diagnostics));
}

export function goToLine(view: EditorView, line: number, column = 1): void {
  const at = offsetOf(view.state.doc, line, column);
  view.dispatch({ selection: { anchor: at }, effects: EditorView.scrollIntoView(at, { y: "center" }) });
}

const lineEnd = (text: string): Extension => (/\r\n/.test(text) && !/[^\r]\n/.test(text) ? EditorState.lineSeparator.of("\r\n") : []);

export interface EditorOptions {
  parent: HTMLElement;
  file: string;
  text: string;
  isReadOnly: boolean;
  compareWith?: string;
  onChange: (text: string) => void;
  onSave: () => void;
}

export function makeEditor(options: EditorOptions): EditorView {
  const save = () => {
    options.onSave();
    return true;
  };
  return new EditorView({
    parent: options.parent,
    state: EditorState.create({
      doc: options.text,
      extensions: [
        EditorView.cspNonce.of(nonce),
        lineEnd(options.text),
        lineNumbers(),
        foldGutter(),
        lintGutter(),
        history(),
        drawSelection(),
        indentOnInput(),
        indentUnit.of("    "),
        bracketMatching(),
        closeBrackets(),
        highlightActiveLine(),
        highlightActiveLineGutter(),
        highlightSelectionMatches(),
        search({ top: true }),
        json(),
        syntaxHighlighting(colors),
        look,
        hover(options.file),
        autocompletion({ override: [(context) => complete(options.file, context)] }),
        options.compareWith === undefined ? [] : unifiedMergeView({ original: options.compareWith, mergeControls: false }),
        EditorState.readOnly.of(options.isReadOnly),
        EditorView.contentAttributes.of({ "aria-label": options.file, tabindex: "0" }),
        EditorView.updateListener.of((update) => {
          if (update.docChanged) {
            options.onChange(update.state.sliceDoc());
          }
        }),
        keymap.of([
          { key: "Mod-s", run: save, preventDefault: true },
          ...closeBracketsKeymap,
          ...defaultKeymap,
          ...searchKeymap,
          ...historyKeymap,
          ...foldKeymap,
          ...completionKeymap,
          ...lintKeymap,
        ]),
      ],
    }),
  });
}
