import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";

export async function renderClasses(ctx: PageContext): Promise<void> {
  try {
    const classes = await ctx.session.getClasses();
    const list = el("ul", { class: "class-list" },
      ...classes.map((c) => el("li", {},
        el("a", { href: `#/class/${encodeURIComponent(c.name)}`, text: c.name }),
        el("span", { class: "muted", text: ` ${c.qualifiedName} · tabela ${c.table || "—"} · ${c.properties.length} propriedades` }))));
    ctx.main.replaceChildren(el("h1", { text: "Classes" }), list);
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
  }
}
