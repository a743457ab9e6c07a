// Builds the console into a directory the server serves: compiles the TypeScript (the client
// library and the pages) and copies the static files. Usage: node build.mjs OUTDIR
import { execFileSync } from "node:child_process";
import { copyFileSync, mkdirSync, rmSync } from "node:fs";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const out = resolve(process.argv[2] ?? join(here, "dist"));
rmSync(join(out, "js"), { recursive: true, force: true });
mkdirSync(out, { recursive: true });
execFileSync(process.execPath, [join(here, "node_modules", "typescript", "bin", "tsc"),
  "-p", join(here, "tsconfig.json"), "--outDir", join(out, "js")], { stdio: "inherit" });
for (const file of ["index.html", "console.css"]) copyFileSync(join(here, "console", file), join(out, file));
