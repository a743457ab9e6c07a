#include "schema/CatalogRoutines.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "schema/CatalogQuery.h"
#include "schema/CatalogTypes.h"

namespace zo::catalog {
namespace {

constexpr const char* kParametersSql =
    "select pp.rdb$procedure_name, pp.rdb$parameter_name, pp.rdb$parameter_type, "
    "pp.rdb$field_source, f.rdb$field_type, f.rdb$field_sub_type, f.rdb$field_scale, "
    "f.rdb$field_precision, coalesce(f.rdb$character_length, f.rdb$field_length), "
    "pp.rdb$null_flag, pp.rdb$parameter_mechanism, pp.rdb$relation_name, pp.rdb$field_name, "
    "pp.rdb$default_source from rdb$procedure_parameters pp "
    "join rdb$fields f on f.rdb$field_name = pp.rdb$field_source "
    "where pp.rdb$package_name is null "
    "order by pp.rdb$procedure_name, pp.rdb$parameter_type, pp.rdb$parameter_number";

constexpr const char* kProceduresSql =
    "select rdb$procedure_name, rdb$procedure_source from rdb$procedures "
    "where coalesce(rdb$system_flag, 0) = 0 and rdb$package_name is null "
    "order by rdb$procedure_name";

constexpr const char* kTriggersSql =
    "select t.rdb$trigger_name, t.rdb$relation_name, t.rdb$trigger_type, "
    "t.rdb$trigger_sequence, t.rdb$trigger_inactive, t.rdb$trigger_source "
    "from rdb$triggers t where coalesce(t.rdb$system_flag, 0) = 0 and not exists "
    "(select 1 from rdb$check_constraints c where c.rdb$trigger_name = t.rdb$trigger_name) "
    "order by t.rdb$relation_name, t.rdb$trigger_sequence, t.rdb$trigger_name";

constexpr const char* kFunctionsSql =
    "select rdb$function_name, rdb$module_name, rdb$entrypoint, rdb$return_argument "
    "from rdb$functions where coalesce(rdb$legacy_flag, 0) = 1 "
    "and coalesce(rdb$system_flag, 0) = 0 and rdb$package_name is null "
    "order by rdb$function_name";

constexpr const char* kArgumentsSql =
    "select rdb$function_name, rdb$argument_position, rdb$mechanism, rdb$field_type, "
    "rdb$field_sub_type, coalesce(rdb$character_length, rdb$field_length) "
    "from rdb$function_arguments where rdb$package_name is null "
    "order by rdb$function_name, rdb$argument_position";

// Parameter type: a column (TYPE OF COLUMN), a user domain (TYPE OF, or the domain itself), or
// the type of the field the engine made for it (named RDB$...).
std::string ParameterType(const TDBXReader& row) {
  const bool typeOf = IntAt(row, 10) == 1;
  const std::string relation = NameAt(row, 11);
  if (typeOf && !relation.empty()) {
    return fmt::format("TYPE OF COLUMN {}.{}", relation, NameAt(row, 12));
  }
  const std::string source = NameAt(row, 3);
  if (source.rfind("RDB$", 0) != 0) return (typeOf ? "TYPE OF " : "") + source;
  return SqlTypeText({IntAt(row, 4), IntAt(row, 5), IntAt(row, 6), IntAt(row, 7), IntAt(row, 8)});
}

std::string ParameterText(const TDBXReader& row) {
  std::string text = NameAt(row, 1) + " " + ParameterType(row);
  if (IntAt(row, 9) == 1) text += " NOT NULL";
  const std::string defaultSource = row.IsNull(13) ? "" : text::Trim(row.GetString(13));
  if (!defaultSource.empty()) text += " " + defaultSource;
  return text;
}

std::string JoinComma(const std::vector<std::string>& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

struct TParameters {
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
};

std::string ProcedureStatement(const std::string& name, const TParameters& parameters,
                               const std::string& source) {
  std::string statement = "CREATE PROCEDURE " + name;
  if (!parameters.inputs.empty()) statement += " (" + JoinComma(parameters.inputs) + ")";
  if (!parameters.outputs.empty()) {
    statement += "\nRETURNS (" + JoinComma(parameters.outputs) + ")";
  }
  return statement + "\nAS\n" + source;
}

// RDB$TRIGGER_TYPE of a table trigger: odd for BEFORE; the type plus one for BEFORE (the type
// itself for AFTER) holds up to three actions in two-bit slots from bit 1 (1 insert, 2 update,
// 3 delete). Database triggers are 8192 plus their event. Empty for a DDL trigger.
std::string TriggerEvent(int64_t type) {
  constexpr int64_t kDatabaseTrigger = 8192;
  constexpr int64_t kDdlTrigger = 16384;
  if ((type & kDdlTrigger) != 0) return "";
  if ((type & kDatabaseTrigger) != 0) {
    static const char* const kEvents[] = {"CONNECT", "DISCONNECT", "TRANSACTION START",
                                          "TRANSACTION COMMIT", "TRANSACTION ROLLBACK"};
    const int64_t event = type - kDatabaseTrigger;
    return event >= 0 && event < 5 ? std::string("ON ") + kEvents[event] : "";
  }
  static const char* const kActions[] = {"", "INSERT", "UPDATE", "DELETE"};
  const bool before = (type & 1) != 0;
  const int64_t slots = type + (before ? 1 : 0);
  std::string actions;
  for (int shift = 1; shift <= 5; shift += 2) {
    const int64_t action = (slots >> shift) & 3;
    if (action != 0) actions += (actions.empty() ? "" : " OR ") + std::string(kActions[action]);
  }
  return (before ? "BEFORE " : "AFTER ") + actions;
}

TUDFArgument::TUDFMechanism Mechanism(int32_t code) {
  using M = TUDFArgument::TUDFMechanism;
  switch (code < 0 ? -code : code) {
    case 0:
      return M::trmByValue;
    case 2:
      return M::trmByDescriptor;
    case 3:
      return M::trmByBlobDescriptor;
    default:
      return M::trmByReference;
  }
}

struct TArgumentRow {
  int32_t position;
  int32_t mechanism;  // negative: the engine frees the returned value (FREE_IT)
  std::unique_ptr<TUDFArgument> argument;
};

std::map<std::string, std::vector<TArgumentRow>> ReadArguments(TDBXConnection& connection) {
  std::map<std::string, std::vector<TArgumentRow>> arguments;
  ForEachRow(connection, kArgumentsSql, [&](const TDBXReader& row) {
    auto argument = std::make_unique<TUDFArgument>();
    argument->setName(fmt::format("{}_{}", NameAt(row, 0), IntAt(row, 1)));
    argument->SetMechanism(Mechanism(IntAt(row, 2)));
    argument->SetFieldType(IntAt(row, 3));
    argument->SetFieldSubType(IntAt(row, 4));
    // Only lengths that the declaration writes count; the byte size of an INTEGER does not.
    argument->SetSize(HasLength(argument->FieldType()) ? IntAt(row, 5) : 0);
    arguments[NameAt(row, 0)].push_back({IntAt(row, 1), IntAt(row, 2), std::move(argument)});
  });
  return arguments;
}

}  // namespace

void ReadProcedures(TDBXConnection& connection, TModuleStruct& module) {
  std::map<std::string, TParameters> parameters;
  ForEachRow(connection, kParametersSql, [&](const TDBXReader& row) {
    TParameters& list = parameters[NameAt(row, 0)];
    (IntAt(row, 2) == 0 ? list.inputs : list.outputs).push_back(ParameterText(row));
  });
  ForEachRow(connection, kProceduresSql, [&](const TDBXReader& row) {
    const std::string name = NameAt(row, 0);
    auto procedure = std::make_unique<TStoredProcedure>();
    procedure->setName(name);
    procedure->SetStatement(ProcedureStatement(name, parameters[name], row.GetString(1)));
    module.AddProcedure(std::move(procedure));
  });
}

void ReadTriggers(TDBXConnection& connection, TModuleStruct& module) {
  ForEachRow(connection, kTriggersSql, [&](const TDBXReader& row) {
    const std::string event = TriggerEvent(row.GetInt64(2));
    if (event.empty()) return;
    const std::string name = NameAt(row, 0);
    const std::string table = row.IsNull(1) ? "" : NameAt(row, 1);
    auto trigger = std::make_unique<TTrigger>();
    trigger->setName(name);
    trigger->SetTable(table);
    trigger->SetStatement(fmt::format(
        "CREATE TRIGGER {}{} {} {} POSITION {}\n{}", name, table.empty() ? "" : " FOR " + table,
        IntAt(row, 4) == 1 ? "INACTIVE" : "ACTIVE", event, IntAt(row, 3), row.GetString(5)));
    module.AddTrigger(std::move(trigger));
  });
}

void ReadExternalFunctions(TDBXConnection& connection, TModuleStruct& module) {
  auto arguments = ReadArguments(connection);
  ForEachRow(connection, kFunctionsSql, [&](const TDBXReader& row) {
    const std::string name = NameAt(row, 0);
    const int32_t returnPosition = IntAt(row, 3);
    auto function = std::make_unique<TUDFMethod>();
    function->setName(name);
    function->SetModuleName(NameAt(row, 1));
    function->SetEntryPoint(NameAt(row, 2));
    std::vector<TArgumentRow>& rows = arguments[name];
    for (TArgumentRow& argument : rows) {
      if (argument.position != returnPosition) continue;
      function->SetReturnMechanism(Mechanism(argument.mechanism));
      function->SetFreeIt(argument.mechanism < 0);
      function->AddArgument(std::move(argument.argument));
    }
    for (TArgumentRow& argument : rows) {
      if (argument.argument) function->AddArgument(std::move(argument.argument));
    }
    module.AddUDF(std::move(function));
  });
}

}  // namespace zo::catalog
