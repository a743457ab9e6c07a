// What every page gets: the session and the main area to draw in.
import type { ConsoleSession } from "./session.js";

export interface PageContext {
  session: ConsoleSession;
  main: HTMLElement;
  // The route's arguments: "#/class/TCidade" gives ["TCidade"].
  args: string[];
  query: URLSearchParams;
  go(hash: string): void;
}

export function describeError(error: unknown): string {
  return error instanceof Error ? error.message : String(error);
}
