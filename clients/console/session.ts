// The console's session: an HTTP session for ordinary calls (it expires after the server's idle
// time, which sends the user back to the login page) and a WebSocket beside it for the calls
// that report progress and can be cancelled. A closed WebSocket means the server went away:
// the banner says so and the session reconnects when the server is back. The password stays
// in memory for that reconnection only; nothing is written to the browser's storage.
import type { ClassInfo, Credentials } from "../typescript/index.js";
import { ErrorCode, RpcError, ZoClient } from "../typescript/index.js";
import type { WsTransport } from "../typescript/index.js";

const kReconnectDelayMs = 1000;

export interface SessionEvents {
  expired(message: string): void;
  connection(up: boolean, detail: string): void;
}

export class ConsoleSession {
  private http: ZoClient | null = null;
  private ws: ZoClient | null = null;
  private credentials: Credentials | null = null;
  private reconnecting = false;
  private classes: ClassInfo[] | null = null;

  constructor(private readonly events: SessionEvents) {}

  get user(): Credentials | null {
    return this.credentials === null ? null : { ...this.credentials, password: "" };
  }

  async login(credentials: Credentials): Promise<void> {
    await this.open(credentials);
    this.credentials = credentials;
  }

  async logout(): Promise<void> {
    const [http, ws] = [this.http, this.ws];
    this.forget();
    await Promise.allSettled([http?.close(), ws?.close()]);
  }

  // An ordinary call over HTTP. A lost session ends the console's session.
  async call<T>(work: (client: ZoClient) => Promise<T>): Promise<T> {
    if (this.http === null) throw new RpcError(ErrorCode.NoSession, "Sessão encerrada");
    try {
      return await work(this.http);
    } catch (error) {
      this.check(error);
      throw error;
    }
  }

  // A call with callbacks (progress, wait screen, cancel) over the WebSocket.
  async withCallbacks<T>(work: (client: ZoClient) => Promise<T>): Promise<T> {
    if (this.ws === null) throw new RpcError(ErrorCode.ConnectionLost, "Sem conexão com o servidor");
    try {
      return await work(this.ws);
    } catch (error) {
      this.check(error);
      throw error;
    }
  }

  async getClasses(): Promise<ClassInfo[]> {
    this.classes ??= await this.call((c) => c.getClasses());
    return this.classes;
  }

  private check(error: unknown): void {
    if (!(error instanceof RpcError)) return;
    if (error.code === ErrorCode.NoSession && !this.reconnecting) {
      void this.logout();
      this.events.expired("Sua sessão expirou. Entre novamente.");
    } else if (error.code === ErrorCode.ConnectionLost) {
      this.lost("Servidor inacessível.");
    }
  }

  private async open(credentials: Credentials): Promise<void> {
    const scheme = location.protocol === "https:" ? "wss:" : "ws:";
    const http = ZoClient.http("");
    const ws = ZoClient.webSocket(`${scheme}//${location.host}/zo`);
    try {
      await http.connect(credentials);
      await ws.connect(credentials);
    } catch (error) {
      await Promise.allSettled([http.close(), ws.close()]);
      throw error;
    }
    (ws.transport as WsTransport).onClose = (code) => {
      if (this.ws === ws) this.lost(`A conexão com o servidor caiu (${code}).`);
    };
    this.http = http;
    this.ws = ws;
  }

  private forget(): void {
    this.http = null;
    this.ws = null;
    this.credentials = null;
    this.classes = null;
  }

  private lost(detail: string): void {
    if (this.reconnecting || this.credentials === null) return;
    this.reconnecting = true;
    this.ws = null;
    this.events.connection(false, `${detail} Tentando reconectar…`);
    void this.reconnect();
  }

  private async reconnect(): Promise<void> {
    while (this.credentials !== null) {
      await new Promise((resolve) => setTimeout(resolve, kReconnectDelayMs));
      const credentials = this.credentials;
      if (credentials === null) break;
      try {
        await this.open(credentials);
        this.reconnecting = false;
        this.events.connection(true, "Reconectado.");
        return;
      } catch (error) {
        if (error instanceof RpcError && error.code !== ErrorCode.ConnectionLost) {
          // The server is back but refuses the login: start over at the login page.
          this.reconnecting = false;
          this.forget();
          this.events.expired(error.message);
          return;
        }
      }
    }
    this.reconnecting = false;
  }
}
