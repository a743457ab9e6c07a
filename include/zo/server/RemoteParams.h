#pragma once

#include <zo/Export.h>

#include <cstdint>
#include <string>

#include <nlohmann/json_fwd.hpp>

// Reading the named parameters of a remote call (a JSON object from an untrusted client). A
// missing or ill-typed parameter raises zo::EInvalidParams, which the client gets as JSON-RPC
// -32602 with the message below; nothing is converted silently. The module's own methods, the
// login and an application's registered methods all read their parameters through these.
namespace zo::remote {

// The parameter as sent: "Parâmetro obrigatório ausente: <name>" when params is not an object
// or has no such member.
ZO_EXPORT const nlohmann::json& Param(const nlohmann::json& params, const char* name);
// A text: "Parâmetro <name>: esperado texto" for anything else. Not required: absent gives "".
ZO_EXPORT std::string StringParam(const nlohmann::json& params, const char* name,
                                  bool required = true);
// A whole number that fits 32 bits: "Parâmetro <name>: esperado número inteiro" otherwise.
ZO_EXPORT int32_t IntParam(const nlohmann::json& params, const char* name);
// A JSON object or null: "Parâmetro <name>: esperado objeto JSON" otherwise.
ZO_EXPORT const nlohmann::json& ObjectParam(const nlohmann::json& params, const char* name);

}  // namespace zo::remote
