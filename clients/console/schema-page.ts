// The live database's tables, columns and keys, as the server reads them from the catalog.
import type { TableInfo } from "../typescript/index.js";
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";

function keysOf(table: TableInfo, column: string): string {
  const marks: string[] = [];
  if (table.primaryKey?.column === column) marks.push("PK");
  for (const fk of table.foreignKeys) if (fk.column === column) marks.push(`FK → ${fk.refTable}.${fk.refColumn}`);
  for (const u of table.uniques) if (u.column === column) marks.push("único");
  for (const i of table.indices) if (i.column === column) marks.push(`índice ${i.name}`);
  return marks.join(", ");
}

function tableView(table: TableInfo): HTMLElement {
  return el("details", { class: "schema-table", "data-table": table.name },
    el("summary", { text: `${table.name} (${table.columns.length} colunas${table.hasGenerator ? ", sequência" : ""})` }),
    el("table", {},
      el("thead", {}, el("tr", {}, ...["Coluna", "Tipo", "Obrigatória", "Chaves"].map((t) => el("th", { text: t })))),
      el("tbody", {}, ...table.columns.map((c) => el("tr", {},
        el("td", { text: c.name }), el("td", { text: c.type }), el("td", { text: c.required ? "sim" : "" }),
        el("td", { text: keysOf(table, c.name) }))))));
}

export async function renderSchema(ctx: PageContext): Promise<void> {
  try {
    const schema = await ctx.session.call((c) => c.getSchema());
    ctx.main.replaceChildren(el("h1", { text: "Esquema do banco" }),
      el("p", { class: "muted", text: `${schema.database} · ${schema.tables.length} tabelas` }),
      ...schema.tables.map(tableView));
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
  }
}
