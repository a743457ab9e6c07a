// The console's entry: routes "#/..." to pages, and keeps the header and the connection banner.
import { renderActions } from "./actions-page.js";
import { currentUserIsAdmin, renderAdmin } from "./admin-page.js";
import { renderClasses } from "./classes-page.js";
import type { PageContext } from "./context.js";
import { renderEditor } from "./editor-page.js";
import { renderGrid } from "./grid-page.js";
import { renderLogin } from "./login-page.js";
import { renderSchema } from "./schema-page.js";
import { ConsoleSession } from "./session.js";

const main = document.getElementById("main") as HTMLElement;
const header = document.getElementById("header") as HTMLElement;
const banner = document.getElementById("banner") as HTMLElement;
const who = document.getElementById("who") as HTMLElement;
const adminLink = document.getElementById("admin-link") as HTMLElement;
let notice = "";
let adminCheckedFor = "";

const session = new ConsoleSession({
  expired(text) {
    notice = text;
    banner.hidden = true;
    go("#/login");
  },
  connection(up, detail) {
    banner.textContent = detail;
    banner.hidden = up;
    document.body.dataset["connection"] = up ? "up" : "down";
    if (up) void route();
  },
});

const pages: Record<string, (ctx: PageContext) => Promise<void>> = {
  classes: renderClasses,
  class: renderGrid,
  edit: renderEditor,
  actions: renderActions,
  schema: renderSchema,
  admin: renderAdmin,
};

function go(hash: string): void {
  if (location.hash === hash) void route();
  else location.hash = hash;
}

async function route(): Promise<void> {
  const [path = "", queryText = ""] = location.hash.replace(/^#\/?/, "").split("?");
  const [page = "", ...rest] = path.split("/").map((part) => decodeURIComponent(part));
  const ctx: PageContext = { session, main, args: rest, query: new URLSearchParams(queryText), go };
  const user = session.user;
  header.hidden = user === null;
  if (user === null || page === "login") {
    if (user !== null) await session.logout();
    adminCheckedFor = "";
    header.hidden = true;
    renderLogin(ctx, notice);
    notice = "";
    return;
  }
  who.textContent = `${user.user} @ ${user.customer}`;
  if (adminCheckedFor !== who.textContent) {
    adminCheckedFor = who.textContent;
    adminLink.hidden = true;
    void currentUserIsAdmin(session).then((admin) => { adminLink.hidden = !admin; });
  }
  const render = pages[page] ?? renderClasses;
  document.body.dataset["page"] = page || "classes";
  await render(ctx);
}

document.getElementById("logout")?.addEventListener("click", () => {
  void session.logout().then(() => go("#/login"));
});
window.addEventListener("hashchange", () => void route());
void route();
