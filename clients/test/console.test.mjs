// The console in headless Chromium against a real zo-server with the demo customer. The steps
// share one browser page and run in order, as a user would go through them.
import assert from "node:assert/strict";
import { existsSync, mkdirSync } from "node:fs";
import { join } from "node:path";
import { after, before, test } from "node:test";
import puppeteer from "puppeteer-core";

import { kBatch, kCustomer, kOrdinary, provision, removeRoot, startServer, wsClient } from "./harness.mjs";

const chromium = process.env.ZO_CHROMIUM ?? "/usr/bin/chromium";
const shots = process.env.ZO_SCREENSHOTS ?? "console-screenshots";
const kXss = "<img src=x onerror=alert(1)>";

let root;
let server;
let browser;
let page;
let other;  // a second client, outside the browser
const dialogs = [];

before(async () => {
  assert.ok(existsSync(chromium), `Chromium not found at ${chromium} (scripts/bootstrap.sh installs it)`);
  mkdirSync(shots, { recursive: true });
  root = provision();
  server = await startServer(root);
  other = await wsClient(server);
  browser = await puppeteer.launch({
    executablePath: chromium,
    headless: true,
    // Chromium's sandbox cannot start as root (containers, CI).
    args: [...(process.getuid?.() === 0 ? ["--no-sandbox"] : []), "--disable-gpu", "--disable-dev-shm-usage"],
  });
  page = await browser.newPage();
  await page.setViewport({ width: 1200, height: 800 });
  page.on("dialog", (dialog) => {
    dialogs.push(dialog.message());
    void dialog.accept();
  });
});

after(async () => {
  await browser?.close();
  await other?.close().catch(() => {});
  if (server) await server.stop();
  if (root) removeRoot(root);
});

const shot = (name) => page.screenshot({ path: join(shots, `${name}.png`) });
const text = (selector) => page.$eval(selector, (e) => e.textContent);
const waitText = (selector, pattern) => page.waitForFunction(
  (s, p) => new RegExp(p).test(document.querySelector(s)?.textContent ?? ""), { timeout: 15_000 }, selector, pattern);

async function logIn(target, credentials) {
  await target.goto(`${server.url}/console/#/login`, { waitUntil: "load" });
  await target.waitForSelector("input[name=customer]");
  await target.type("input[name=customer]", credentials.customer);
  await target.type("input[name=user]", credentials.user);
  await target.type("input[name=password]", credentials.password);
  await target.click("form.login button[type=submit]");
  await target.waitForSelector(".class-list a");
}

async function filter(condition) {
  await page.$eval("input.condition", (input) => { input.value = ""; });
  await page.type("input.condition", condition);
  await page.keyboard.press("Enter");
}

test("log in and list the classes", async () => {
  const started = Date.now();
  await page.goto(`${server.url}/console/`, { waitUntil: "load" });
  const loadMs = Date.now() - started;
  const bytes = await page.evaluate(() => performance.getEntriesByType("resource")
    .reduce((sum, r) => sum + r.transferSize, performance.getEntriesByType("navigation")[0].transferSize));
  console.log(`first load: ${bytes} bytes in ${loadMs} ms`);
  assert.ok(bytes < 300 * 1024, `first load is ${bytes} bytes`);
  await page.type("input[name=customer]", kCustomer.customer);
  await page.type("input[name=user]", kCustomer.user);
  await page.type("input[name=password]", "wrong");
  await page.click("form.login button[type=submit]");
  await page.waitForSelector(".login .message.error");
  await page.$eval("input[name=password]", (input) => { input.value = ""; });
  await page.type("input[name=password]", kCustomer.password);
  await page.click("form.login button[type=submit]");
  await page.waitForSelector(".class-list a[href='#/class/TCidade']");
  await shot("01-classes");
});

test("filter, edit and save, with the server's messages next to the fields", async () => {
  await page.click(".class-list a[href='#/class/TCidade']");
  await waitText(".counts", "^\\d+ objetos$");
  await filter("Nome = 'x' or");
  await page.waitForSelector(".grid-status .message.error");
  await filter("UF = 'SP'");
  await waitText(".counts", "^\\d+ de \\d+ objetos$");
  const [first] = await other.getByCondition("TCidade", "UF = 'SP'");
  const id = first.fields.Codigo;
  await page.click(`.grid-row[data-key='${id}'] a`);
  await page.waitForSelector("input[name=Nome]");
  await page.waitForFunction(() => document.querySelector("input[name=Nome]").value !== "");

  await page.type("input[name=CodigoIBGE]", "abc");
  await page.click("button.validate");
  await waitText("[data-field=CodigoIBGE] .field-message", '^Campo "CodigoIBGE" da classe "TCidade": esperado número');
  await shot("02-field-message");
  await page.$eval("input[name=CodigoIBGE]", (input) => { input.value = "3509502"; });

  await page.$eval("input[name=Nome]", (input) => { input.value = ""; });
  await page.type("input[name=Nome]", "Campinas Antiga");
  await page.click("button.update");
  await waitText(".editor-status", "Alterações salvas");
  assert.equal((await other.get("TCidade", id)).fields.Nome, "Campinas Antiga");

  // Markup in data is shown as text, never run.
  await page.$eval("input[name=Nome]", (input) => { input.value = ""; });
  await page.type("input[name=Nome]", kXss);
  await page.click("button.update");
  await waitText(".editor-status", "Alterações salvas");
  await page.goto(`${server.url}/console/#/class/TCidade?c=${encodeURIComponent(`Codigo = ${id}`)}`);
  await waitText(".grid-body", "onerror");
  const cells = await page.$$eval(".grid-body .grid-cell", (all) => all.map((c) => c.textContent));
  assert.ok(cells.includes(kXss), cells.join("|"));
  assert.equal(await page.$$eval("main img", (all) => all.length), 0);
  assert.deepEqual(dialogs, []);
  await shot("03-markup-as-text");
});

test("a thousand rows render and scroll without blocking; cancel half-way deletes nothing", async () => {
  const started = Date.now();
  await filter(kBatch.condition);
  await waitText(".counts", `^${kBatch.size} de`);
  console.log(`grid of ${kBatch.size}: loaded and rendered in ${Date.now() - started} ms`);
  const scroll = await page.evaluate(async () => {
    const viewport = document.querySelector(".grid-viewport");
    const frame = () => new Promise((r) => requestAnimationFrame(r));
    let worst = 0;
    for (let top = 0; top <= viewport.scrollHeight; top += 2000) {
      const t = performance.now();
      viewport.scrollTop = top;
      await frame();
      await frame();
      worst = Math.max(worst, performance.now() - t);
    }
    viewport.scrollTop = viewport.scrollHeight;
    await frame();
    await frame();
    const rows = document.querySelectorAll(".grid-body .grid-row");
    return { worst, rows: rows.length, last: rows[rows.length - 1]?.dataset.index };
  });
  console.log(`scrolling: ${scroll.rows} rows in the page, worst step ${scroll.worst.toFixed(1)} ms`);
  assert.ok(scroll.rows < 100, `${scroll.rows} rows in the page`);
  assert.equal(scroll.last, String(kBatch.size - 1));
  assert.ok(scroll.worst < 250, `a scroll step took ${scroll.worst} ms`);

  await page.click(".grid-head input[type=checkbox]");
  await waitText("button.delete-selected", `\\(${kBatch.size}\\)`);
  await page.click("button.delete-selected");
  await page.waitForFunction(() => Number(document.querySelector("dialog.wait-dialog")?.dataset.percent ?? 0) >= 20,
    { timeout: 30_000 });
  await page.click("dialog.wait-dialog .wait-cancel");
  await page.waitForSelector("dialog.wait-dialog[data-state]", { timeout: 30_000 });
  await shot("04-delete-cancelled");
  assert.equal(await page.$eval("dialog.wait-dialog", (d) => d.dataset.state), "cancelled");
  const percent = Number(await page.$eval("dialog.wait-dialog", (d) => d.dataset.percent));
  assert.ok(percent >= 20 && percent < 100, `cancelled at ${percent}%`);
  assert.equal(await other.getCount("TCidade", kBatch.condition), kBatch.size);
  await page.click("dialog.wait-dialog .wait-close");
});

test("run the demo action with its wait screen; see the schema", async () => {
  await page.click("header a[href='#/actions']");
  await page.waitForSelector("button[data-action=RecalcularTotais]");
  await page.click("button[data-action=RecalcularTotais]");
  await page.waitForSelector("dialog.wait-dialog[data-state]", { timeout: 30_000 });
  await shot("05-action");
  assert.equal(await page.$eval("dialog.wait-dialog", (d) => d.dataset.state), "ok", await text("dialog.wait-dialog"));
  assert.equal(await text("dialog.wait-dialog .wait-title"), "Recalculando totais dos pedidos");
  assert.equal(await text("dialog.wait-dialog .wait-percent"), "100%");
  await page.click("dialog.wait-dialog .wait-close");

  await page.click("header a[href='#/schema']");
  await page.waitForSelector("details[data-table=CIDADES]");
  await page.click("details[data-table=CIDADES] summary");
  await waitText("details[data-table=CIDADES]", "NOME.*VARCHAR\\(60\\)");
  await shot("06-schema");
});

test("only administrators manage users and roles", async () => {
  await page.waitForSelector("#admin-link:not([hidden])");
  await page.click("#admin-link");
  await page.waitForSelector(`tr[data-user=${kOrdinary.user}] select[name=role]`);
  assert.equal(await page.$eval(`tr[data-user=${kCustomer.user}] select`, (s) => s.value), "admin");
  await page.select(`tr[data-user=${kOrdinary.user}] select`, "admin");
  await waitText(`tr[data-user=${kOrdinary.user}] .row-status`, "Papel alterado");
  const [rui] = await other.getByCondition("TUser", `Login = '${kOrdinary.user}'`);
  assert.equal(await other.getUserRole(rui.fields.Codigo), "admin");
  await page.select(`tr[data-user=${kOrdinary.user}] select`, "");
  await waitText(`tr[data-user=${kOrdinary.user}] .row-status`, "Papel alterado");
  await shot("07-admin");

  const context = await browser.createBrowserContext();
  const ordinary = await context.newPage();
  await logIn(ordinary, kOrdinary);
  assert.equal(await ordinary.$eval("#admin-link", (a) => a.hidden), true);
  await ordinary.goto(`${server.url}/console/#/admin`);
  await ordinary.waitForFunction(() => /Somente administradores/.test(document.querySelector("main").textContent));
  await context.close();
});

test("a stopped server shows a banner; the console reconnects when it is back, and an idle session expires", async () => {
  const port = server.port;
  assert.equal(await server.stop(), 0);
  await page.waitForSelector("#banner:not([hidden])");
  await shot("08-server-stopped");
  server = await startServer(root, { port, args: ["--idle-timeout", "2"] });
  await page.waitForSelector("body[data-connection=up]", { timeout: 20_000 });
  assert.equal(await page.$eval("#banner", (b) => b.hidden), true);
  await page.click("header a[href='#/schema']");
  await page.waitForSelector("details[data-table=CIDADES]");

  await new Promise((resolve) => setTimeout(resolve, 3500));  // past the idle time
  await page.click("header a[href='#/actions']");
  await waitText(".login", "sessão expirou");
  await shot("09-session-expired");
});
