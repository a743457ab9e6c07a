// The WebSocket at /zo: one socket per client, calls answered in order, and the server's
// callback requests ("cb-N") answered through the handler of the call that is running.
import type { Credentials, JsonObject } from "./protocol.js";
import { ErrorCode, RpcError } from "./protocol.js";
import type { Transport } from "./transport.js";
import { requestText, resultOf } from "./transport.js";
import type { CallbackHandler } from "./wait-screen.js";
import { readWaitScreenCommand } from "./wait-screen.js";

// The part of the WebSocket API used here; browsers' WebSocket and the "ws" package fit it.
export interface SocketLike {
  readyState: number;
  send(data: string): void;
  close(code?: number, reason?: string): void;
  onopen: ((event: unknown) => void) | null;
  onmessage: ((event: { data: unknown }) => void) | null;
  onclose: ((event: { code: number; reason: string }) => void) | null;
  onerror: ((event: unknown) => void) | null;
}
export type SocketFactory = (url: string) => SocketLike;

interface Pending {
  resolve(value: unknown): void;
  reject(error: RpcError): void;
  handler?: CallbackHandler;
}

export class WsTransport implements Transport {
  private socket: SocketLike | null = null;
  private readonly pending = new Map<number, Pending>();
  private nextId = 1;
  // Callback answers go out in order even when a handler waits before answering.
  private answers: Promise<void> = Promise.resolve();
  onClose: ((code: number, reason: string) => void) | null = null;

  // url: "ws://127.0.0.1:7070/zo". factory: how to open a socket (defaults to the global
  // WebSocket of browsers and recent Node versions).
  constructor(private readonly url: string, private readonly factory?: SocketFactory) {}

  get open(): boolean {
    return this.socket !== null && this.socket.readyState === 1;
  }

  async connect(credentials: Credentials): Promise<void> {
    if (this.socket === null) await this.openSocket();
    await this.call("connect", { ...credentials });
  }

  call(method: string, params: JsonObject, handler?: CallbackHandler): Promise<unknown> {
    const socket = this.socket;
    if (socket === null || socket.readyState !== 1) {
      return Promise.reject(new RpcError(ErrorCode.ConnectionLost, "Conexão com o servidor fechada"));
    }
    const id = this.nextId++;
    return new Promise((resolve, reject) => {
      this.pending.set(id, { resolve, reject, handler });
      socket.send(requestText(id, method, params));
    });
  }

  async close(): Promise<void> {
    const socket = this.socket;
    if (socket === null) return;
    await new Promise<void>((resolve) => {
      const previous = socket.onclose;
      socket.onclose = (event) => {
        previous?.(event);
        resolve();
      };
      socket.close(1000, "bye");
      if (socket.readyState === 3) resolve();
    });
  }

  private openSocket(): Promise<void> {
    const make: SocketFactory =
      this.factory ?? ((url) => new (globalThis as unknown as { WebSocket: new (u: string) => SocketLike }).WebSocket(url));
    const socket = make(this.url);
    this.socket = socket;
    return new Promise((resolve, reject) => {
      socket.onopen = () => resolve();
      socket.onerror = () => reject(new RpcError(ErrorCode.ConnectionLost, `Não foi possível abrir ${this.url}`));
      socket.onmessage = (event) => this.receive(String(event.data));
      socket.onclose = (event) => {
        this.socket = null;
        this.failAll(`Conexão com o servidor fechada (${event.code})`);
        reject(new RpcError(ErrorCode.ConnectionLost, "Conexão recusada"));
        this.onClose?.(event.code, event.reason);
      };
    });
  }

  private failAll(message: string): void {
    for (const entry of this.pending.values()) entry.reject(new RpcError(ErrorCode.ConnectionLost, message));
    this.pending.clear();
  }

  private receive(text: string): void {
    let message: Record<string, unknown>;
    try {
      message = JSON.parse(text) as Record<string, unknown>;
    } catch {
      return;  // the server sends JSON only; anything else is ignored
    }
    if (message["method"] === "callback") return this.answerCallback(message);
    const id = message["id"];
    if (typeof id !== "number") {
      // An error without id (oversized or unreadable message) ends the oldest call.
      const first = this.pending.keys().next();
      if (first.done) return;
      return this.settle(first.value, message);
    }
    this.settle(id, message);
  }

  private settle(id: number, message: Record<string, unknown>): void {
    const entry = this.pending.get(id);
    if (entry === undefined) return;
    this.pending.delete(id);
    try {
      entry.resolve(resultOf(message));
    } catch (error) {
      entry.reject(error as RpcError);
    }
  }

  // Calls run one at a time in order, so a callback belongs to the oldest unanswered call.
  private answerCallback(message: Record<string, unknown>): void {
    const first = this.pending.values().next();
    const handler = first.done ? undefined : first.value.handler;
    const params = message["params"] as Record<string, unknown> | undefined;
    handler?.onEvent?.(readWaitScreenCommand(params?.["command"]));
    const id = message["id"];
    this.answers = this.answers.then(async () => {
      if (handler?.beforeAnswer) await handler.beforeAnswer();
      const cancel = handler?.cancelRequested?.() ?? false;
      if (this.socket?.readyState === 1) {
        this.socket.send(JSON.stringify({ jsonrpc: "2.0", id, result: cancel }));
      }
    });
  }
}
