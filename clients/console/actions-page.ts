// The methods the application registered, run with their wait screen and a Cancel button.
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";
import { WaitDialog } from "./wait-dialog.js";

export async function renderActions(ctx: PageContext): Promise<void> {
  let names: string[];
  try {
    names = await ctx.session.call((c) => c.getActions());
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
    return;
  }
  const run = async (name: string): Promise<void> => {
    const dialog = new WaitDialog(name);
    await dialog.run((handler) => ctx.session.withCallbacks((ws) => ws.action(name, {}, handler)),
      (result) => `Concluído. Resultado: ${JSON.stringify(result)}`);
  };
  ctx.main.replaceChildren(el("h1", { text: "Ações do servidor" }),
    names.length === 0 ? message("A aplicação não registrou ações.", "info") : el("ul", { class: "actions" },
      ...names.map((name) => el("li", {}, el("button", { type: "button", "data-action": name, text: name, onclick: () => void run(name) })))));
}
