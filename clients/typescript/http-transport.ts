// POST /zo/rpc with the session token in X-Zo-Session. There is no channel back: a call that
// asks for callbacks runs with one that drops the commands, and cannot be cancelled.
import type { Credentials, JsonObject } from "./protocol.js";
import { ErrorCode, RpcError } from "./protocol.js";
import type { Transport } from "./transport.js";
import { requestText, resultOf } from "./transport.js";
import type { CallbackHandler } from "./wait-screen.js";

export class HttpTransport implements Transport {
  private session = "";
  private nextId = 1;

  // baseUrl: "http://127.0.0.1:7070" (or "" in a page served by the server itself).
  constructor(private readonly baseUrl: string) {}

  get token(): string {
    return this.session;
  }

  async connect(credentials: Credentials): Promise<void> {
    const result = (await this.post("connect", { ...credentials })) as { session?: unknown };
    if (typeof result?.session !== "string") {
      throw new RpcError(ErrorCode.Internal, "Resposta de connect sem sessão");
    }
    this.session = result.session;
  }

  call(method: string, params: JsonObject, _handler?: CallbackHandler): Promise<unknown> {
    return this.post(method, params);
  }

  async close(): Promise<void> {
    if (this.session === "") return;
    try {
      await this.post("disconnect", {});
    } finally {
      this.session = "";
    }
  }

  private async post(method: string, params: JsonObject): Promise<unknown> {
    const headers: Record<string, string> = { "Content-Type": "application/json" };
    if (this.session !== "") headers["X-Zo-Session"] = this.session;
    let response: Response;
    try {
      response = await fetch(`${this.baseUrl}/zo/rpc`, {
        method: "POST",
        headers,
        body: requestText(this.nextId++, method, params),
      });
    } catch (error) {
      throw new RpcError(ErrorCode.ConnectionLost, `Servidor inacessível: ${String(error)}`);
    }
    const text = await response.text();
    let message: unknown;
    try {
      message = JSON.parse(text);
    } catch {
      throw new RpcError(ErrorCode.Internal, `Resposta HTTP ${response.status}: ${text.slice(0, 200)}`);
    }
    return resultOf(message as object);
  }
}
