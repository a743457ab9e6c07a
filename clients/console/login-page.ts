import { append, el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";

export function renderLogin(ctx: PageContext, notice: string): void {
  const customer = el("input", { name: "customer", autocomplete: "organization", required: true });
  const user = el("input", { name: "user", autocomplete: "username", required: true });
  const password = el("input", { name: "password", type: "password", autocomplete: "current-password" });
  const status = el("div", { class: "login-status" });
  if (notice !== "") append(status, message(notice, "info"));
  const submit = el("button", { type: "submit", text: "Entrar" });
  const form = el("form", { class: "login", "aria-label": "Entrar" },
    el("h1", { text: "ZoServer" }),
    el("label", {}, "Cliente", customer),
    el("label", {}, "Usuário", user),
    el("label", {}, "Senha", password),
    submit, status);
  form.addEventListener("submit", async (event) => {
    event.preventDefault();
    submit.disabled = true;
    status.replaceChildren(message("Conectando…", "info"));
    try {
      await ctx.session.login({ customer: customer.value.trim(), user: user.value.trim(), password: password.value });
      password.value = "";
      ctx.go("#/classes");
    } catch (error) {
      status.replaceChildren(message(describeError(error)));
    } finally {
      submit.disabled = false;
    }
  });
  ctx.main.replaceChildren(form);
  customer.focus();
}
