// Property values as text for the grid and the editor, and the editor's text back as values.
import type { DataObject, JsonValue, PropertyInfo } from "../typescript/index.js";

export function isEditable(p: PropertyInfo): boolean {
  return p.shape === "value" && !p.key;
}

export function isBoolean(p: PropertyInfo): boolean {
  return p.type === "Boolean";
}

function isNumeric(p: PropertyInfo): boolean {
  if (p.type === "TDate" || p.type === "TDateTime" || p.type === "TTime") return false;
  return ["tkInteger", "tkInt64", "tkFloat", "tkEnumeration"].includes(p.kind);
}

// How a value reads in a grid cell or a read-only field.
export function displayValue(p: PropertyInfo, value: JsonValue | undefined): string {
  if (value === undefined || value === null) return "";
  if (p.shape === "list") return Array.isArray(value) ? `${value.length} itens` : "";
  if (p.shape === "stream" || p.shape === "bitmap") return "(binário)";
  if (p.shape === "object" && typeof value === "object" && !Array.isArray(value)) {
    const fields = (value as unknown as DataObject).fields ?? {};
    const name = fields["Nome"] ?? fields["Descricao"];
    return `#${String(fields["Codigo"] ?? "?")}${name !== undefined ? ` ${String(name)}` : ""}`;
  }
  if (typeof value === "boolean") return value ? "sim" : "não";
  return String(value);
}

// The text of an editor's input back as the JSON the server reads. A number that does not
// parse is sent as the text typed, so that the server's own message names the field.
export function parseInput(p: PropertyInfo, text: string, checked: boolean): JsonValue {
  if (isBoolean(p)) return checked;
  if (p.type === "TDate" || p.type === "TDateTime" || p.type === "TTime") {
    return text.trim() === "" ? null : text.trim();
  }
  if (isNumeric(p)) {
    if (text.trim() === "") return p.type === "TForeignKey" ? -1 : 0;
    const n = Number(text);
    return Number.isFinite(n) ? n : text;
  }
  return text;
}

// The property a server message is about: its name in quotes, or after "Campo"/"propriedade".
export function propertyOfMessage(message: string, properties: PropertyInfo[]): string | null {
  for (const p of properties) {
    if (message.includes(`"${p.name}"`)) return p.name;
  }
  return null;
}
