// Users and their roles, for administrators. The server decides who may read or change users;
// the console only keeps the page from the others.
import type { DataObject } from "../typescript/index.js";
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";
import type { ConsoleSession } from "./session.js";

const kUserClass = "TUser";
const kAdmin = "admin";

function quoted(text: string): string {
  return `'${text.replace(/'/g, "''")}'`;
}

const idOf = (user: DataObject): number => Number(user.fields?.["Codigo"] ?? 0);
const textOf = (user: DataObject, name: string): string => String(user.fields?.[name] ?? "");

export async function currentUserIsAdmin(session: ConsoleSession): Promise<boolean> {
  const login = session.user?.user ?? "";
  if (login === "") return false;
  try {
    const [own] = await session.call((c) => c.getByCondition(kUserClass, `Login = ${quoted(login)}`));
    return own !== undefined && (await session.call((c) => c.getUserRole(idOf(own)))) === kAdmin;
  } catch {
    return false;  // not allowed to read it: certainly not an administrator
  }
}

function roleSelect(role: string): HTMLSelectElement {
  const select = el("select", { name: "role", "aria-label": "Papel" },
    el("option", { value: "", text: "usuário" }), el("option", { value: kAdmin, text: "administrador" }));
  select.value = role;
  return select;
}

// Runs a change, showing the server's answer in `status`.
async function apply(status: HTMLElement, done: string, work: () => Promise<unknown>): Promise<boolean> {
  try {
    await work();
    status.replaceChildren(message(done, "info"));
    return true;
  } catch (error) {
    status.replaceChildren(message(describeError(error)));
    return false;
  }
}

function userRow(ctx: PageContext, user: DataObject, role: string): HTMLElement {
  const id = idOf(user);
  const status = el("td", { class: "row-status" });
  const select = roleSelect(role);
  select.addEventListener("change", () => void apply(status, "Papel alterado.", async () => {
    try {
      await ctx.session.call((c) => c.setUserRole(id, select.value));
    } catch (error) {
      select.value = role;
      throw error;
    }
  }));
  const password = el("input", { type: "password", name: "new-password", autocomplete: "new-password", placeholder: "nova senha", "aria-label": "Nova senha" });
  const setPassword = el("button", { type: "button", text: "Definir senha", onclick: () => void apply(status, "Senha definida.",
    () => ctx.session.call((c) => c.setUserPassword(id, password.value))).then(() => { password.value = ""; }) });
  return el("tr", { "data-user": textOf(user, "Login") },
    el("td", {}, el("a", { href: `#/edit/${kUserClass}/${id}`, text: textOf(user, "Login") })),
    el("td", { text: textOf(user, "Nome") }),
    el("td", {}, select), el("td", {}, password, " ", setPassword), status);
}

function newUserForm(ctx: PageContext): HTMLElement {
  const login = el("input", { name: "login", "aria-label": "Login", placeholder: "login" });
  const nome = el("input", { name: "nome", "aria-label": "Nome", placeholder: "nome" });
  const password = el("input", { type: "password", name: "password", autocomplete: "new-password", "aria-label": "Senha", placeholder: "senha" });
  const role = roleSelect("");
  const status = el("div");
  const form = el("form", { class: "new-user filter" }, login, nome, password, role,
    el("button", { type: "submit", text: "Criar usuário" }), status);
  form.addEventListener("submit", (event) => {
    event.preventDefault();
    void apply(status, "Usuário criado.", async () => {
      const id = await ctx.session.call((c) => c.insert({ type: kUserClass, fields: { Login: login.value, Nome: nome.value } }));
      await ctx.session.call((c) => c.setUserPassword(id, password.value));
      if (role.value !== "") await ctx.session.call((c) => c.setUserRole(id, role.value));
    }).then((ok) => { if (ok) void renderAdmin(ctx); });
  });
  return form;
}

export async function renderAdmin(ctx: PageContext): Promise<void> {
  if (!(await currentUserIsAdmin(ctx.session))) {
    ctx.main.replaceChildren(message("Somente administradores têm acesso a esta página."));
    return;
  }
  try {
    const users = await ctx.session.call((c) => c.getByCondition(kUserClass, ""));
    const roles: string[] = [];
    for (const user of users) roles.push(await ctx.session.call((c) => c.getUserRole(idOf(user))));
    ctx.main.replaceChildren(el("h1", { text: "Usuários e papéis" }), newUserForm(ctx),
      el("table", { class: "users" },
        el("thead", {}, el("tr", {}, ...["Login", "Nome", "Papel", "Senha", ""].map((t) => el("th", { text: t })))),
        el("tbody", {}, ...users.map((u, i) => userRow(ctx, u, roles[i] ?? "")))));
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
  }
}
