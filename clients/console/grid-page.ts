// The objects of one class: a condition box (the server checks it), counts, a virtualised
// grid, opening an object, and deleting the selected ones with progress and cancel.
import type { ClassInfo, DataObject } from "../typescript/index.js";
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";
import { displayValue } from "./fields.js";
import { VirtualGrid } from "./virtual-grid.js";
import { WaitDialog } from "./wait-dialog.js";

function idOf(obj: DataObject): number {
  return Number(obj.fields?.["Codigo"] ?? 0);
}

export async function renderGrid(ctx: PageContext): Promise<void> {
  const name = ctx.args[0] ?? "";
  let info: ClassInfo | undefined;
  try {
    info = (await ctx.session.getClasses()).find((c) => c.name === name);
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
    return;
  }
  if (info === undefined) {
    ctx.main.replaceChildren(message(`Classe desconhecida: ${name}`));
    return;
  }
  const cls = info;
  const condition = ctx.query.get("c") ?? "";
  const columns = cls.properties.filter((p) => p.shape === "value" || p.shape === "object")
    .map((p) => ({ title: p.name, text: (row: DataObject) => displayValue(p, row.fields?.[p.name]) }));

  const input = el("input", { name: "condition", class: "condition", value: condition, placeholder: "Condição, ex.: UF = 'PE'", "aria-label": "Condição" });
  const counts = el("span", { class: "counts", role: "status", text: "" });
  const status = el("div", { class: "grid-status" });
  const deleteButton = el("button", { type: "button", class: "delete-selected", text: "Excluir selecionados", disabled: true });
  const grid = new VirtualGrid<DataObject>(columns, idOf,
    (row) => ctx.go(`#/edit/${encodeURIComponent(cls.name)}/${idOf(row)}`),
    (n) => {
      deleteButton.disabled = n === 0;
      deleteButton.textContent = n === 0 ? "Excluir selecionados" : `Excluir selecionados (${n})`;
    });
  const form = el("form", { class: "filter" }, input, el("button", { type: "submit", text: "Filtrar" }),
    el("a", { class: "button", href: `#/edit/${encodeURIComponent(cls.name)}/new`, text: "Novo" }), deleteButton, counts);
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    const c = input.value.trim();
    ctx.go(`#/class/${encodeURIComponent(cls.name)}${c === "" ? "" : `?c=${encodeURIComponent(c)}`}`);
  });

  const load = async (): Promise<void> => {
    status.replaceChildren(message("Carregando…", "info"));
    try {
      const [total, matching, rows] = await ctx.session.call(async (client) => [
        await client.getCount(cls.name, ""),
        await client.getCount(cls.name, condition),
        await client.getByCondition(cls.name, condition),
      ] as const);
      counts.textContent = condition === "" ? `${total} objetos` : `${matching} de ${total} objetos`;
      grid.setRows(rows);
      status.replaceChildren();
    } catch (error) {
      counts.textContent = "";
      grid.setRows([]);
      status.replaceChildren(message(describeError(error)));
    }
  };

  deleteButton.addEventListener("click", async () => {
    const ids = grid.selectedKeys();
    if (ids.length === 0) return;
    const dialog = new WaitDialog(`Excluindo ${ids.length} objetos…`);
    await dialog.run((handler) => ctx.session.withCallbacks((ws) => ws.deleteArray(cls.name, ids, handler)),
      () => `${ids.length} objetos excluídos.`);
    dialog.element.addEventListener("close", () => void load());
  });

  ctx.main.replaceChildren(el("h1", { text: cls.name }), form, status, grid.element);
  await load();
}
