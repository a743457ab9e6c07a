// What the typed client needs from a connection: connect, one call at a time or queued, close.
import type { Credentials, JsonObject } from "./protocol.js";
import { RpcError } from "./protocol.js";
import type { CallbackHandler } from "./wait-screen.js";

export interface Transport {
  connect(credentials: Credentials): Promise<void>;
  call(method: string, params: JsonObject, handler?: CallbackHandler): Promise<unknown>;
  close(): Promise<void>;
}

interface ResponseMessage {
  id?: unknown;
  result?: unknown;
  error?: { code?: unknown; message?: unknown; data?: unknown };
}

// The result of a JSON-RPC response, or its error raised as an RpcError.
export function resultOf(message: ResponseMessage): unknown {
  if (message.error !== undefined) {
    const code = typeof message.error.code === "number" ? message.error.code : -32603;
    const text = typeof message.error.message === "string" ? message.error.message : "Erro";
    throw new RpcError(code, text, message.error.data);
  }
  return message.result ?? null;
}

export function requestText(id: number | string | null, method: string, params: unknown): string {
  return JSON.stringify({ jsonrpc: "2.0", id, method, params });
}
