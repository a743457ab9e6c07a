// The typed client against a real zo-server: both transports, the metadata methods, callbacks
// with progress and cancel, and the console's static-file route.
import assert from "node:assert/strict";
import { request } from "node:http";
import { after, before, test } from "node:test";

import { httpClient, kBatch, provision, removeRoot, startServer, wsClient, zo } from "./harness.mjs";

let root;
let server;
before(async () => {
  root = provision();
  server = await startServer(root);
});
after(async () => {
  if (server) assert.equal(await server.stop(), 0, server.log());
  if (root) removeRoot(root);
});

async function rejection(promise) {
  try {
    await promise;
  } catch (error) {
    return error;
  }
  assert.fail("the call succeeded; an error was expected");
}

test("GetClasses describes the registered classes", async () => {
  const client = await wsClient(server);
  const classes = await client.getClasses();
  const property = (cls, name) => classes.find((c) => c.name === cls)?.properties.find((p) => p.name === name);
  const cases = [
    ["TCidade", "Codigo", { key: true, column: "ID", type: "TPrimaryKey" }],
    ["TCidade", "Nome", { column: "NOME", size: 60, required: true, skill: "psNormal", shape: "value" }],
    ["TCliente", "Email", { skill: "psUnique", size: 100, required: false }],
    ["TCliente", "Endereco", { skill: "psEmbedded", shape: "object", class: "TEndereco" }],
    ["TCliente", "Observacoes", { skill: "psTextBlob" }],
    ["TCliente", "Cidade", { column: "CIDADE_ID", indexed: true, class: "TCidade" }],
    ["TCategoria", "Filhas", { shape: "list", column: null, class: "TCategoria" }],
    ["TClienteVIP", "Gerente", { column: "GERENTE", size: 60 }],
  ];
  for (const [cls, name, expected] of cases) {
    const actual = property(cls, name);
    assert.ok(actual, `${cls}.${name} is listed`);
    for (const [key, value] of Object.entries(expected)) assert.deepEqual(actual[key], value, `${cls}.${name}.${key}`);
  }
  const cidade = classes.find((c) => c.name === "TCidade");
  assert.deepEqual([cidade.qualifiedName, cidade.table, cidade.key], ["DemoClasses.TCidade", "CIDADES", "ID"]);
  assert.deepEqual(await client.getActions(), ["RecalcularTotais"]);
  await client.close();
});

test("GetSchema reads the live database's tables and keys", async () => {
  const client = await httpClient(server);
  const schema = await client.getSchema();
  const cidades = schema.tables.find((t) => t.name === "CIDADES");
  assert.deepEqual(cidades.columns.map((c) => [c.name, c.type, c.required]).sort(),
    [["COD_IBGE", "INTEGER", false], ["ID", "INTEGER", true], ["NOME", "VARCHAR(60)", true], ["UF", "VARCHAR(2)", true]]);
  assert.equal(cidades.primaryKey.column, "ID");
  const clientes = schema.tables.find((t) => t.name === "CLIENTES");
  assert.ok(clientes.foreignKeys.some((fk) => fk.column === "CIDADE_ID" && fk.refTable === "CIDADES"), JSON.stringify(clientes.foreignKeys));
  await client.close();
});

for (const transport of ["ws", "http"]) {
  test(`objects round-trip over ${transport}, with the server's messages as errors`, async () => {
    const client = transport === "ws" ? await wsClient(server) : await httpClient(server);
    const id = await client.insert({ type: "DemoClasses.TCidade", fields: { Nome: `Nova ${transport}`, UF: "PE" } });
    const read = await client.get("TCidade", id);
    assert.equal(read.fields.Nome, `Nova ${transport}`);
    await client.update({ type: read.type, fields: { ...read.fields, Nome: "Renomeada" } });
    assert.equal((await client.get("TCidade", id)).fields.Nome, "Renomeada");

    const tooLong = await rejection(client.insert({ type: "TCidade", fields: { Nome: "x".repeat(61), UF: "PE" } }));
    assert.equal(tooLong.code, zo.ErrorCode.Application);
    assert.match(tooLong.message, /"Nome".*60/);
    const wrongType = await rejection(client.validate({ type: "TCidade", fields: { Nome: "a", UF: 5 } }));
    assert.equal(wrongType.message, 'Campo "UF" da classe "TCidade": esperado texto, veio número');
    const unknown = await rejection(client.call("NoSuchMethod", {}));
    assert.equal(unknown.code, zo.ErrorCode.MethodNotFound);

    await client.delete("TCidade", id);
    assert.equal(await client.get("TCidade", id), null);
    await client.close();
    const closed = await rejection(client.getCount("TCidade"));
    assert.equal(closed.code, transport === "ws" ? zo.ErrorCode.ConnectionLost : zo.ErrorCode.NoSession);
  });
}

test("callbacks report progress, and cancel half-way deletes nothing", async () => {
  const client = await wsClient(server);
  const ids = (await client.getByCondition("TCidade", kBatch.condition)).map((o) => o.fields.Codigo);
  assert.equal(ids.length, kBatch.size);
  const events = [];
  const cancellation = new zo.Cancellation((event) => {
    events.push(event);
    if (event.kind === "position" && event.percent >= 40) cancellation.cancel();
  });
  const error = await rejection(client.deleteArray("TCidade", ids, cancellation));
  assert.ok(error.aborted, `${error.code} ${error.message}`);
  assert.deepEqual(events[0], { kind: "title", text: "Excluindo..." });
  const positions = events.filter((e) => e.kind === "position").map((e) => e.percent);
  assert.ok(positions.at(-1) >= 40 && positions.at(-1) < 100, positions.join());
  assert.deepEqual(positions, [...positions].sort((a, b) => a - b));
  assert.equal(await client.getCount("TCidade", kBatch.condition), kBatch.size);

  const titles = [];
  const changed = await client.action("RecalcularTotais", {}, { onEvent: (e) => { if (e.kind === "title") titles.push(e.text); } });
  assert.equal(typeof changed, "number");
  assert.ok(titles.length > 0 && titles.every((t) => t === "Recalculando totais dos pedidos"), titles.join());
  await client.close();
});

function get(path, method = "GET") {
  return new Promise((resolve, reject) => {
    const req = request({ host: "127.0.0.1", port: server.port, path, method }, (res) => {
      let body = "";
      res.on("data", (chunk) => { body += chunk; });
      res.on("end", () => resolve({ status: res.statusCode, type: res.headers["content-type"], location: res.headers.location, body }));
    });
    req.on("error", reject);
    req.end();
  });
}

test("the console's files are served with their types, and nothing outside them", async () => {
  const index = await get("/console/");
  assert.equal(index.status, 200);
  assert.match(index.type, /^text\/html/);
  assert.match(index.body, /js\/console\/main\.js/);
  assert.match((await get("/console/js/console/main.js")).type, /^text\/javascript/);
  assert.match((await get("/console/console.css?v=1")).type, /^text\/css/);
  assert.deepEqual(await get("/console").then((r) => [r.status, r.location]), [301, "/console/"]);
  assert.equal((await get("/console/", "POST")).status, 405);
  for (const path of ["/console/../conn.conf", "/console/%2e%2e/conn.conf", "/console/js/..%2f..%2f..%2fconn.conf",
    "/console/.%2e/conn.conf", "/console/%00index.html", "/console/..\\conn.conf", "/console/missing.js", "/console/js/"]) {
    const reply = await get(path);
    assert.ok(reply.status === 400 || reply.status === 404, `${path}: ${reply.status}`);
    assert.doesNotMatch(reply.body, /masterkey|User_Name/, path);
  }
  assert.equal((await get("/zo/rpc", "GET")).status, 405);  // the RPC route is untouched
});
