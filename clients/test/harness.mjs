// A real zo-server for the tests: a fresh application root with the demo customer (the demo
// data and a thousand extra cities with UF 'ZA'), provisioned with zo-schema and served on a
// loopback port. Paths come from the environment (set by ctest); a missing tool is a failure.
import { spawn, spawnSync } from "node:child_process";
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { pathToFileURL } from "node:url";
import WebSocket from "ws";

function required(name) {
  const value = process.env[name];
  if (!value || !existsSync(value)) throw new Error(`${name} must name an existing path (got "${value ?? ""}")`);
  return value;
}

// The typed client as the console serves it (built by clients/build.mjs).
export const zo = await import(pathToFileURL(join(required("ZO_CONSOLE_DIR"), "js", "typescript", "index.js")).href);
const { ZoClient } = zo;

export const kCustomer = { customer: "DEMO", user: "demo", password: "s3nha demo" };
// An ordinary user beside the customer's first user (who is its administrator).
export const kOrdinary = { customer: "DEMO", user: "rui", password: "s3nha do rui" };
export const kBatch = { condition: "UF = 'ZA'", size: 1000 };

const kCities = `
SET TERM ^ ;
EXECUTE BLOCK AS
  DECLARE i INTEGER = 0;
BEGIN
  WHILE (i < ${kBatch.size}) DO BEGIN
    INSERT INTO CIDADES (ID, NOME, UF, COD_IBGE) VALUES (100001 + :i, 'Lote cidade ' || :i, 'ZA', 0);
    i = i + 1;
  END
END^
SET TERM ; ^
`;

function run(binary, args, options) {
  const result = spawnSync(binary, args, { encoding: "utf8", timeout: 120_000, ...options });
  if (result.status !== 0) {
    throw new Error(`${binary} ${args.join(" ")} failed (${result.status}):\n${result.stderr}${result.stdout}`);
  }
}

export function provision() {
  const schema = required("ZO_SCHEMA_BIN");
  const root = mkdtempSync(join(tmpdir(), "zo-console-"));
  writeFileSync(join(root, "conn.conf"), "User_Name=SYSDBA\nPassword=masterkey\nSQLDialect=3\nCharSet=UTF8\n");
  run(schema, ["customer", "add", kCustomer.customer, "--root", root, "--user", kCustomer.user, "--password-stdin"],
    { input: `${kCustomer.password}\n` });
  run(schema, ["user", "add", kOrdinary.user, "--customer", kOrdinary.customer, "--root", root, "--name", "Rui",
    "--password-stdin"], { input: `${kOrdinary.password}\n` });
  writeFileSync(join(root, "seed.sql"), readFileSync(required("ZO_DEMO_DATA_SQL"), "utf8") + kCities);
  run(schema, ["apply", "--db", join(root, "CustomersDB", kCustomer.customer, "ZO.FDB"), "seed.sql"], { cwd: root });
  return root;
}

// zo-server on `port` (0: any free one); resolves once it listens.
export function startServer(root, { port = 0, args = [] } = {}) {
  const child = spawn(required("ZO_SERVER_BIN"),
    ["--root", root, "--port", String(port), "--console-dir", required("ZO_CONSOLE_DIR"), "--log-level", "error", ...args],
    { stdio: ["ignore", "pipe", "pipe"] });
  let output = "";
  let errors = "";
  child.stderr.on("data", (chunk) => { errors += chunk; });
  return new Promise((resolve, reject) => {
    const timer = setTimeout(() => { child.kill("SIGKILL"); reject(new Error(`zo-server did not start:\n${output}${errors}`)); }, 30_000);
    child.stdout.on("data", (chunk) => {
      output += chunk;
      const match = /listening on ws:\/\/[^:\s]+:(\d+)\/zo/.exec(output);
      if (match) {
        clearTimeout(timer);
        resolve({
          port: Number(match[1]),
          url: `http://127.0.0.1:${match[1]}`,
          // SIGTERM and the exit code.
          stop: () => new Promise((done) => {
            if (child.exitCode !== null) return done(child.exitCode);
            child.once("exit", (code) => done(code));
            child.kill("SIGTERM");
          }),
          log: () => errors,
        });
      }
    });
    child.once("exit", (code) => { clearTimeout(timer); reject(new Error(`zo-server exited (${code}):\n${output}${errors}`)); });
  });
}

export function removeRoot(root) {
  rmSync(root, { recursive: true, force: true });
}

export async function wsClient(server, credentials = kCustomer) {
  const client = ZoClient.webSocket(`ws://127.0.0.1:${server.port}/zo`, (url) => new WebSocket(url));
  await client.connect(credentials);
  return client;
}

export async function httpClient(server, credentials = kCustomer) {
  const client = ZoClient.http(server.url);
  await client.connect(credentials);
  return client;
}
