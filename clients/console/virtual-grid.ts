// A grid that keeps only the rows in view in the page: a thousand objects render at once and
// scroll without work proportional to their number. Cells are text.
import { clear, el } from "./dom.js";

export interface GridColumn<Row> {
  title: string;
  text(row: Row): string;
}

const kRowHeight = 28;
const kOverscan = 8;

export class VirtualGrid<Row> {
  readonly element: HTMLElement;
  private readonly viewport: HTMLElement;
  private readonly body: HTMLElement;
  private readonly spacer: HTMLElement;
  private readonly header: HTMLElement;
  private readonly selectAll: HTMLInputElement;
  private rows: Row[] = [];
  private readonly selected = new Set<number>();
  private scheduled = false;

  constructor(
    private readonly columns: GridColumn<Row>[],
    private readonly keyOf: (row: Row) => number,
    private readonly onOpen: (row: Row) => void,
    private readonly onSelection: (count: number) => void,
  ) {
    this.selectAll = el("input", { type: "checkbox", title: "Selecionar todas", "aria-label": "Selecionar todas", onchange: () => this.toggleAll() });
    this.header = el("div", { class: "grid-row grid-head", role: "row" },
      el("span", { class: "grid-check" }, this.selectAll),
      ...columns.map((c) => el("span", { class: "grid-cell", role: "columnheader", text: c.title })));
    this.spacer = el("div", { class: "grid-spacer" });
    this.body = el("div", { class: "grid-body", role: "rowgroup" });
    this.viewport = el("div", { class: "grid-viewport", onscroll: () => this.schedule() }, this.spacer, this.body);
    this.element = el("div", { class: "grid", role: "grid" }, this.header, this.viewport);
    this.setWidths();
  }

  setRows(rows: Row[]): void {
    this.rows = rows;
    this.selected.clear();
    this.selectAll.checked = false;
    this.spacer.style.height = `${rows.length * kRowHeight}px`;
    this.viewport.scrollTop = 0;
    this.render();
    this.onSelection(0);
  }

  selectedKeys(): number[] {
    return [...this.selected];
  }

  private setWidths(): void {
    const template = `32px repeat(${this.columns.length}, minmax(7rem, 1fr))`;
    this.element.style.setProperty("--grid-columns", template);
  }

  private schedule(): void {
    if (this.scheduled) return;
    this.scheduled = true;
    requestAnimationFrame(() => {
      this.scheduled = false;
      this.render();
    });
  }

  private render(): void {
    const height = this.viewport.clientHeight || 400;
    const first = Math.max(0, Math.floor(this.viewport.scrollTop / kRowHeight) - kOverscan);
    const last = Math.min(this.rows.length, Math.ceil((this.viewport.scrollTop + height) / kRowHeight) + kOverscan);
    clear(this.body);
    this.body.style.transform = `translateY(${first * kRowHeight}px)`;
    for (let i = first; i < last; i++) this.body.appendChild(this.renderRow(this.rows[i], i));
  }

  private renderRow(row: Row, index: number): HTMLElement {
    const key = this.keyOf(row);
    const check = el("input", { type: "checkbox", "aria-label": `Selecionar ${key}`, onchange: () => {
      if (check.checked) this.selected.add(key); else this.selected.delete(key);
      this.onSelection(this.selected.size);
    } });
    check.checked = this.selected.has(key);
    return el("div", { class: "grid-row", role: "row", "data-index": index, "data-key": key, ondblclick: () => this.onOpen(row) },
      el("span", { class: "grid-check" }, check),
      ...this.columns.map((c, n) => n === 0
        ? el("span", { class: "grid-cell" }, el("a", { href: "#", text: c.text(row), onclick: (e) => { e.preventDefault(); this.onOpen(row); } }))
        : el("span", { class: "grid-cell", text: c.text(row) })));
  }

  private toggleAll(): void {
    this.selected.clear();
    if (this.selectAll.checked) for (const row of this.rows) this.selected.add(this.keyOf(row));
    this.render();
    this.onSelection(this.selected.size);
  }
}
