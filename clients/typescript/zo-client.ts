// The typed client of the server module's remote methods, over either transport:
//
//   const client = ZoClient.webSocket("ws://127.0.0.1:7070/zo");
//   await client.connect({ customer: "ACME", user: "ana", password: "..." });
//   const cidades = await client.getByCondition("TCidade", "UF = 'PE'");
//   const cancel = new Cancellation((event) => show(event));
//   await client.deleteArray("TCidade", ids, cancel);   // cancel.cancel() from a button
import { HttpTransport } from "./http-transport.js";
import type {
  ClassInfo, Credentials, DataObject, JsonObject, Methods, MethodName, SchemaInfo,
} from "./protocol.js";
import type { Transport } from "./transport.js";
import type { CallbackHandler } from "./wait-screen.js";
import type { SocketFactory } from "./ws-transport.js";
import { WsTransport } from "./ws-transport.js";

export class ZoClient {
  constructor(readonly transport: Transport) {}

  static webSocket(url: string, factory?: SocketFactory): ZoClient {
    return new ZoClient(new WsTransport(url, factory));
  }

  static http(baseUrl: string): ZoClient {
    return new ZoClient(new HttpTransport(baseUrl));
  }

  connect(credentials: Credentials): Promise<void> {
    return this.transport.connect(credentials);
  }

  close(): Promise<void> {
    return this.transport.close();
  }

  // Any method with its typed parameters. With a handler the call asks for callbacks.
  async call<M extends MethodName>(
    method: M, params: Methods[M]["params"], handler?: CallbackHandler,
  ): Promise<Methods[M]["result"]> {
    const sent: JsonObject = { ...(params as JsonObject) };
    if (handler !== undefined) sent["Callback"] = true;
    return (await this.transport.call(method, sent, handler)) as Methods[M]["result"];
  }

  // A method the application registered (a server action), with callbacks when a handler is
  // given: its wait screen and cancel.
  action(name: string, params: JsonObject = {}, handler?: CallbackHandler): Promise<unknown> {
    const sent: JsonObject = { ...params };
    if (handler !== undefined) sent["Callback"] = true;
    return this.transport.call(name, sent, handler);
  }

  // Writes always ask for a callback: Update stores nothing without one, and the others report
  // progress through it. Without a handler of the caller's, commands are dropped.
  insert(obj: DataObject, handler: CallbackHandler = {}): Promise<number> {
    return this.call("Insert", { jObj: obj }, handler);
  }
  update(obj: DataObject, handler: CallbackHandler = {}): Promise<null> {
    return this.call("Update", { jObj: obj }, handler);
  }
  delete(className: string, id: number, handler: CallbackHandler = {}): Promise<null> {
    return this.call("Delete", { AClassName: className, id }, handler);
  }
  deleteArray(className: string, ids: number[], handler: CallbackHandler = {}): Promise<null> {
    return this.call("DeleteArray", { AClassName: className, jArray: ids }, handler);
  }
  validate(obj: DataObject): Promise<null> {
    return this.call("Validate", { jObj: obj });
  }
  get(className: string, id: number): Promise<DataObject | null> {
    return this.call("Get", { AClassName: className, id });
  }
  getByCondition(className: string, condition = ""): Promise<DataObject[]> {
    return this.call("GetByCondition", { AClassName: className, ACondition: condition });
  }
  getCount(className: string, condition = ""): Promise<number> {
    return this.call("GetCount", { AClassName: className, ACondition: condition });
  }
  getBlobData(className: string, id: number, property: string): Promise<string | null> {
    return this.call("GetBlobData", { AClassName: className, id, APropertyName: property });
  }
  setBlobData(className: string, id: number, property: string, base64: string | null): Promise<null> {
    return this.call("SetBlobData", { AClassName: className, id, APropertyName: property, AStream: base64 });
  }
  getNextID(className: string, currentID: number, direction: 0 | 1 | 2 | 3, condition = ""): Promise<number> {
    return this.call("GetNextID", { AClassName: className, currentID, ATipoNext: direction, ACondition: condition });
  }
  getStrList(className: string, properties: string, condition = ""): Promise<string> {
    return this.call("GetStrList", { AClassName: className, AProperties: properties, ACondition: condition });
  }
  getRecords(providerName: string): Promise<Array<Record<string, string>>> {
    return this.call("GetRecords", { ProviderName: providerName });
  }
  setCurrentDataBase(name: string): Promise<null> {
    return this.call("SetCurrentDataBase", { DataBaseName: name });
  }
  getCurrentDataBase(): Promise<string> {
    return this.call("GetCurrentDataBase", {});
  }
  release(): Promise<null> {
    return this.call("Release", {});
  }
  getClasses(): Promise<ClassInfo[]> {
    return this.call("GetClasses", {});
  }
  getSchema(): Promise<SchemaInfo> {
    return this.call("GetSchema", {});
  }
  getActions(): Promise<string[]> {
    return this.call("GetActions", {});
  }
  getUserRole(id: number): Promise<string> {
    return this.call("GetUserRole", { id });
  }
  setUserRole(id: number, role: string): Promise<null> {
    return this.call("SetUserRole", { id, ARole: role });
  }
  setUserPassword(id: number, password: string): Promise<null> {
    return this.call("SetUserPassword", { id, APassword: password });
  }
}
