// The typed ZoServer client: import everything from here.
export * from "./protocol.js";
export * from "./wait-screen.js";
export type { Transport } from "./transport.js";
export { HttpTransport } from "./http-transport.js";
export { WsTransport } from "./ws-transport.js";
export type { SocketFactory, SocketLike } from "./ws-transport.js";
export { ZoClient } from "./zo-client.js";
