// The server's wait-screen commands, read from the callback requests of a running call.

export type WaitScreenEvent =
  | { kind: "title"; text: string }
  | { kind: "job"; text: string }
  | { kind: "position"; percent: number }
  | { kind: "other"; command: unknown };

// What a caller gives a call to follow it: progress events, and a way to ask for cancel.
export interface CallbackHandler {
  // Every command the server sends, already read.
  onEvent?(event: WaitScreenEvent): void;
  // Asked before each answer: true asks the server to cancel the call.
  cancelRequested?(): boolean;
  // Called before answering, so that a user interface can paint the progress first.
  beforeAnswer?(): Promise<void>;
}

function field(command: Record<string, unknown>, name: string): unknown {
  const fields = command["fields"];
  return fields !== null && typeof fields === "object"
    ? (fields as Record<string, unknown>)[name]
    : undefined;
}

export function readWaitScreenCommand(command: unknown): WaitScreenEvent {
  if (command === null || typeof command !== "object") return { kind: "other", command };
  const object = command as Record<string, unknown>;
  const type = typeof object["type"] === "string" ? (object["type"] as string) : "";
  if (type.endsWith("TWaitScreenCommandTitle")) {
    return { kind: "title", text: String(field(object, "Text") ?? "") };
  }
  if (type.endsWith("TWaitScreenCommandJob")) {
    return { kind: "job", text: String(field(object, "Text") ?? "") };
  }
  if (type.endsWith("TWaitScreenCommandGo")) {
    const position = Number(field(object, "Position") ?? 0);
    return { kind: "position", percent: Math.min(100, Math.max(0, position || 0)) };
  }
  return { kind: "other", command };
}

// A handler that a cancel button can drive: cancel() makes the next answer "cancel".
export class Cancellation implements CallbackHandler {
  private cancelled = false;
  constructor(private readonly listener?: (event: WaitScreenEvent) => void) {}
  cancel(): void {
    this.cancelled = true;
  }
  get requested(): boolean {
    return this.cancelled;
  }
  onEvent(event: WaitScreenEvent): void {
    this.listener?.(event);
  }
  cancelRequested(): boolean {
    return this.cancelled;
  }
}
