// The shapes that cross the wire: JSON-RPC messages, data objects, the metadata answers, and
// the parameters and results of every remote method of the server module.

export const ErrorCode = {
  ParseError: -32700,
  InvalidRequest: -32600,
  MethodNotFound: -32601,
  InvalidParams: -32602,
  Internal: -32603,
  Application: -32000,
  Aborted: -32001,
  NoSession: -32002,
  AlreadyConnected: -32003,
  ShuttingDown: -32004,
  MessageTooLarge: -32005,
  // Not sent by the server: the connection broke before the answer came.
  ConnectionLost: -1,
} as const;

// An error answer of the server (its message is meant for the user as it is), or a broken
// connection (code ConnectionLost).
export class RpcError extends Error {
  readonly code: number;
  readonly data: unknown;
  constructor(code: number, message: string, data?: unknown) {
    super(message);
    this.name = "RpcError";
    this.code = code;
    this.data = data;
  }
  // The call was cancelled: show no error dialog.
  get aborted(): boolean {
    return this.code === ErrorCode.Aborted;
  }
}

export interface Credentials {
  customer: string;
  user: string;
  password: string;
}

export type JsonValue = null | boolean | number | string | JsonValue[] | { [key: string]: JsonValue };
export type JsonObject = { [key: string]: JsonValue };

// A data object as the marshaller writes it ("type" is "Unit.TClass").
export interface DataObject {
  type: string;
  id?: number;
  fields?: JsonObject;
}

export interface PropertyInfo {
  name: string;
  kind: string;                 // "tkInteger", "tkUString", "tkEnumeration", "tkClass", ...
  type: string;                 // declared type: "TPrimaryKey", "Integer", "Boolean", "TDate", ...
  shape: "value" | "object" | "list" | "stream" | "bitmap";
  column: string | null;        // null for lists (they live in their item class's table)
  size: number;                 // characters of a string column, 0 otherwise
  required: boolean;
  indexed: boolean;
  skill: "psNormal" | "psGeneric" | "psEmbedded" | "psUnique" | "psTextBlob" | "psBinaryBlob";
  key: boolean;
  class: string | null;         // referenced, embedded or item class (short name)
}

export interface ClassInfo {
  name: string;                 // short name, as name-based methods take it
  qualifiedName: string;
  parent: string | null;
  table: string;
  key: string;
  properties: PropertyInfo[];
}

export interface ColumnInfo { name: string; type: string; size: number; required: boolean }
export interface KeyInfo { name: string; column: string }
export interface ForeignKeyInfo extends KeyInfo { refTable: string; refColumn: string }
export interface TableInfo {
  name: string;
  columns: ColumnInfo[];
  primaryKey: KeyInfo | null;
  foreignKeys: ForeignKeyInfo[];
  uniques: KeyInfo[];
  indices: KeyInfo[];
  hasGenerator: boolean;
}
export interface SchemaInfo { database: string; tables: TableInfo[] }

// Direction of GetNextID.
export const TipoNext = { First: 0, Previous: 1, Next: 2, Last: 3 } as const;

interface ByName { AClassName: string }
interface ByCondition extends ByName { ACondition?: string }

// Every remote method of the module: its named parameters and its result.
export interface Methods {
  Insert: { params: { jObj: DataObject | null }; result: number };
  Update: { params: { jObj: DataObject | null }; result: null };
  Validate: { params: { jObj: DataObject | null }; result: null };
  Delete: { params: ByName & { id: number }; result: null };
  DeleteArray: { params: ByName & { jArray: Array<number | string> | null }; result: null };
  Get: { params: ByName & { id: number }; result: DataObject | null };
  GetByCondition: { params: ByCondition; result: DataObject[] };
  GetCount: { params: ByCondition; result: number };
  GetBlobData: { params: ByName & { id: number; APropertyName: string }; result: string | null };
  SetBlobData: {
    params: ByName & { id: number; APropertyName: string; AStream: string | null };
    result: null;
  };
  GetNextID: {
    params: ByCondition & { currentID: number; ATipoNext: 0 | 1 | 2 | 3 };
    result: number;
  };
  GetStrList: { params: ByCondition & { AProperties: string }; result: string };
  GetRecords: { params: { ProviderName: string }; result: Array<Record<string, string>> };
  SetCurrentDataBase: { params: { DataBaseName: string }; result: null };
  GetCurrentDataBase: { params: Record<string, never>; result: string };
  Release: { params: Record<string, never>; result: null };
  GetClasses: { params: Record<string, never>; result: ClassInfo[] };
  GetSchema: { params: Record<string, never>; result: SchemaInfo };
  GetActions: { params: Record<string, never>; result: string[] };
  // Users' roles ("admin" or "") and passwords: administrators, and a user's own password.
  GetUserRole: { params: { id: number }; result: string };
  SetUserRole: { params: { id: number; ARole: string }; result: null };
  SetUserPassword: { params: { id: number; APassword: string }; result: null };
}
export type MethodName = keyof Methods;
