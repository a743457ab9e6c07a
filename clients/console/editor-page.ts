// One object: Get, Validate, Update, Insert and Delete, with the server's message shown next to
// the field it names (or above the form).
import type { ClassInfo, DataObject, JsonObject, PropertyInfo } from "../typescript/index.js";
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";
import { displayValue, isBoolean, isEditable, parseInput, propertyOfMessage } from "./fields.js";

interface FieldView {
  property: PropertyInfo;
  input: HTMLInputElement | null;
  note: HTMLElement;
}

export async function renderEditor(ctx: PageContext): Promise<void> {
  const [name = "", idText = "new"] = ctx.args;
  let cls: ClassInfo | undefined;
  try {
    cls = (await ctx.session.getClasses()).find((c) => c.name === name);
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
    return;
  }
  if (cls === undefined) {
    ctx.main.replaceChildren(message(`Classe desconhecida: ${name}`));
    return;
  }
  new Editor(ctx, cls, idText === "new" ? 0 : Number(idText)).show();
}

class Editor {
  private current: DataObject | null = null;
  private readonly fields: FieldView[];
  private readonly status = el("div", { class: "editor-status" });
  private readonly heading = el("h1", { text: "" });
  private readonly form = el("form", { class: "editor" });

  constructor(private readonly ctx: PageContext, private readonly cls: ClassInfo, private id: number) {
    this.fields = cls.properties.map((p) => this.fieldView(p));
  }

  async show(): Promise<void> {
    const button = (text: string, action: () => Promise<void>, cls = "") =>
      el("button", { type: "button", class: cls, text, onclick: () => void this.guard(action) });
    const back = el("a", { href: `#/class/${encodeURIComponent(this.cls.name)}`, text: `← ${this.cls.name}` });
    this.form.replaceChildren(...this.fields.map((f) => el("div", { class: "field", "data-field": f.property.name },
      el("label", { text: f.property.name + (f.property.required ? " *" : "") },),
      f.input ?? el("output", { class: "readonly" }), f.note)));
    this.form.addEventListener("submit", (e) => { e.preventDefault(); void this.guard(() => this.save()); });
    const buttons = el("div", { class: "buttons" },
      button("Recarregar", () => this.load(), "get"),
      button("Validar", () => this.validate(), "validate"),
      button("Salvar", () => this.save(), "update"),
      button("Inserir como novo", () => this.insert(), "insert"),
      button("Excluir", () => this.remove(), "danger delete"));
    this.ctx.main.replaceChildren(back, this.heading, this.status, this.form, buttons);
    if (this.id > 0) await this.guard(() => this.load()); else this.fill(null);
  }

  private fieldView(p: PropertyInfo): FieldView {
    const note = el("span", { class: "field-message", role: "alert", text: "" });
    if (!isEditable(p)) return { property: p, input: null, note };
    const input = el("input", { name: p.name, "aria-label": p.name, type: isBoolean(p) ? "checkbox" : "text",
      title: p.size > 0 ? `até ${p.size} caracteres` : p.type });
    return { property: p, input, note };
  }

  private fill(obj: DataObject | null): void {
    this.current = obj;
    this.heading.textContent = obj === null ? `Novo ${this.cls.name}` : `${this.cls.name} #${this.id}`;
    for (const f of this.fields) {
      const value = obj?.fields?.[f.property.name];
      if (f.input === null) {
        const output = f.note.previousElementSibling as HTMLElement;
        output.textContent = displayValue(f.property, value);
      } else if (isBoolean(f.property)) {
        f.input.checked = value === true;
      } else {
        f.input.value = value === undefined || value === null ? "" : String(value);
      }
    }
  }

  // The object as the form holds it: the fetched object with the edited values put in.
  private collect(): DataObject {
    const fields: JsonObject = { ...(this.current?.fields ?? {}) };
    for (const f of this.fields) {
      if (f.input !== null) fields[f.property.name] = parseInput(f.property, f.input.value, f.input.checked);
    }
    return { type: this.cls.qualifiedName, fields };
  }

  private async guard(action: () => Promise<void>): Promise<void> {
    this.showMessage("", "info");
    for (const f of this.fields) f.note.textContent = "";
    try {
      await action();
    } catch (error) {
      const text = describeError(error);
      const property = propertyOfMessage(text, this.cls.properties);
      const field = this.fields.find((f) => f.property.name === property);
      if (field !== undefined) {
        field.note.textContent = text;
        this.showMessage("Verifique o campo " + field.property.name + ".", "error");
      } else {
        this.showMessage(text, "error");
      }
    }
  }

  private showMessage(text: string, kind: "error" | "info"): void {
    this.status.replaceChildren(...(text === "" ? [] : [message(text, kind)]));
  }

  private async load(): Promise<void> {
    const obj = await this.ctx.session.call((c) => c.get(this.cls.name, this.id));
    if (obj === null) throw new Error(`Objeto ${this.id} não encontrado`);
    this.fill(obj);
  }

  private async validate(): Promise<void> {
    await this.ctx.session.call((c) => c.validate(this.collect()));
    this.showMessage("O objeto é válido.", "info");
  }

  private async save(): Promise<void> {
    if (this.id <= 0) return this.insert();
    await this.ctx.session.call((c) => c.update(this.collect()));
    await this.load();
    this.showMessage("Alterações salvas.", "info");
  }

  private async insert(): Promise<void> {
    const obj = this.collect();
    if (obj.fields) delete obj.fields["Codigo"];
    this.id = await this.ctx.session.call((c) => c.insert(obj));
    this.ctx.go(`#/edit/${encodeURIComponent(this.cls.name)}/${this.id}`);
  }

  private async remove(): Promise<void> {
    if (this.id <= 0 || !confirm(`Excluir ${this.cls.name} #${this.id}?`)) return;
    await this.ctx.session.call((c) => c.delete(this.cls.name, this.id));
    this.ctx.go(`#/class/${encodeURIComponent(this.cls.name)}`);
  }
}
