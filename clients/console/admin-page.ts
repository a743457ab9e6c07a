// Users and their roles, for admins. The server enforces who may read or change users; the
// console only hides the page from the others.
import type { ClassInfo, DataObject, JsonValue } from "../typescript/index.js";
import { el, message } from "./dom.js";
import type { PageContext } from "./context.js";
import { describeError } from "./context.js";
import { displayValue } from "./fields.js";
import type { ConsoleSession } from "./session.js";

const kUserClass = "TUser";

// The role of a user row: an "Admin" flag, or a "Papel"/"Role" text.
export function isAdminRow(user: DataObject | undefined): boolean {
  const fields = user?.fields ?? {};
  const flag: JsonValue | undefined = fields["Admin"];
  if (typeof flag === "boolean") return flag;
  if (typeof flag === "number") return flag !== 0;
  const role = fields["Papel"] ?? fields["Role"];
  return typeof role === "string" && role.toLowerCase() === "admin";
}

function quoted(text: string): string {
  return `'${text.replace(/'/g, "''")}'`;
}

export async function currentUserIsAdmin(session: ConsoleSession): Promise<boolean> {
  const login = session.user?.user ?? "";
  if (login === "") return false;
  try {
    const rows = await session.call((c) => c.getByCondition(kUserClass, `Login = ${quoted(login)}`));
    return isAdminRow(rows[0]);
  } catch {
    return false;  // not allowed to read users: certainly not an admin
  }
}

export async function renderAdmin(ctx: PageContext): Promise<void> {
  if (!(await currentUserIsAdmin(ctx.session))) {
    ctx.main.replaceChildren(message("Somente administradores têm acesso a esta página."));
    return;
  }
  try {
    const cls: ClassInfo | undefined = (await ctx.session.getClasses()).find((c) => c.name === kUserClass);
    const users = await ctx.session.call((c) => c.getByCondition(kUserClass, ""));
    const props = (cls?.properties ?? []).filter((p) => p.shape === "value");
    ctx.main.replaceChildren(el("h1", { text: "Usuários e papéis" }),
      el("a", { class: "button", href: `#/edit/${kUserClass}/new`, text: "Novo usuário" }),
      el("table", { class: "users" },
        el("thead", {}, el("tr", {}, ...props.map((p) => el("th", { text: p.name })), el("th", { text: "Papel" }))),
        el("tbody", {}, ...users.map((u) => el("tr", {},
          ...props.map((p, i) => i === 0
            ? el("td", {}, el("a", { href: `#/edit/${kUserClass}/${String(u.fields?.["Codigo"])}`, text: displayValue(p, u.fields?.[p.name]) }))
            : el("td", { text: displayValue(p, u.fields?.[p.name]) })),
          el("td", { text: isAdminRow(u) ? "administrador" : "usuário" }))))));
  } catch (error) {
    ctx.main.replaceChildren(message(describeError(error)));
  }
}
