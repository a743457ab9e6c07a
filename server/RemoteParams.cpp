#include <zo/server/RemoteParams.h>

#include <nlohmann/json.hpp>

#include <zo/core/RemoteErrors.h>

namespace zo::remote {

const nlohmann::json& Param(const nlohmann::json& params, const char* name) {
  if (!params.is_object() || !params.contains(name)) {
    throw EInvalidParams(std::string("Parâmetro obrigatório ausente: ") + name);
  }
  return params.at(name);
}

std::string StringParam(const nlohmann::json& params, const char* name, bool required) {
  if (!required && (!params.is_object() || !params.contains(name))) return {};
  const auto& v = Param(params, name);
  // Told apart from a missing one: a client that sends a number must not go looking for a
  // parameter it did send.
  if (!v.is_string()) throw EInvalidParams(std::string("Parâmetro ") + name + ": esperado texto");
  return v.get<std::string>();
}

int32_t IntParam(const nlohmann::json& params, const char* name) {
  const auto& v = Param(params, name);
  if (!v.is_number_integer() || v.get<int64_t>() < INT32_MIN || v.get<int64_t>() > INT32_MAX) {
    throw EInvalidParams(std::string("Parâmetro ") + name + ": esperado número inteiro");
  }
  return v.get<int32_t>();
}

const nlohmann::json& ObjectParam(const nlohmann::json& params, const char* name) {
  const auto& v = Param(params, name);
  if (!v.is_object() && !v.is_null()) {
    throw EInvalidParams(std::string("Parâmetro ") + name + ": esperado objeto JSON");
  }
  return v;
}

}  // namespace zo::remote
