#include <zo/platform/db/DatabaseError.h>

#include <algorithm>
#include <array>

#include <ibase.h>

namespace zo {
namespace {

using Category = DatabaseErrorCategory;

// Messages of Firebird's metadata (DYN) and DSQL facilities that have no isc_* name in the
// headers; a code is the facility and the message number packed as Firebird does.
constexpr std::intptr_t MessageCode(std::intptr_t facility, std::intptr_t number) {
  return 0x14000000 | (facility << 16) | number;
}
constexpr std::intptr_t kDynProcedureExists = MessageCode(8, 135);
constexpr std::intptr_t kDynShadowExists = MessageCode(8, 165);
constexpr std::intptr_t kDynExceptionExists = MessageCode(8, 253);
constexpr std::intptr_t kDynSequenceExists = MessageCode(8, 254);
constexpr std::intptr_t kDynFunctionExists = MessageCode(8, 268);
constexpr std::intptr_t kDsqlForeignKey = MessageCode(13, 470);

// Every message of the engine that says something "already exists" is here, so that a rule
// over that phrase and this category agree.
constexpr std::array kExists{
    isc_dyn_dup_table,          isc_dyn_dup_index,         isc_dyn_dup_sql_role,
    kDynProcedureExists,        kDynShadowExists,          kDynExceptionExists,
    kDynSequenceExists,         kDynFunctionExists,        isc_dyn_package_body_exists,
    isc_dyn_domain_name_exists, isc_dyn_field_name_exists, isc_map_already_exists,
    isc_dsql_cursor_exists,     isc_primary_key_exists,
};

constexpr std::array kMissing{
    isc_relnotdef,
    isc_fldnotdef,
    isc_fldnotdef2,
    isc_gennotdef,
    isc_prcnotdef,
    isc_xcpnotdef,
    isc_funnotdef,
    isc_domnotdef,
    isc_charset_not_found,
    isc_collation_not_found,
    isc_dsql_relation_err,
    isc_dsql_field_err,
    isc_dsql_procedure_err,
    isc_dsql_function_err,
    isc_dsql_trigger_err,
    isc_dsql_domain_not_found,
    isc_dsql_table_not_found,
    isc_dsql_view_not_found,
    isc_dyn_func_not_found,
    isc_dyn_index_not_found,
    isc_dyn_view_not_found,
    isc_dyn_domain_not_found,
    isc_dyn_proc_not_found,
    isc_dyn_exception_not_found,
    isc_dyn_trig_not_found,
    isc_dyn_gen_not_found,
    isc_dyn_table_not_found,
    isc_dyn_package_not_found,
    isc_dyn_role_not_found,
    isc_dyn_charset_not_found,
    isc_dyn_collation_not_found,
    isc_dyn_column_does_not_exist,
    isc_dyn_role_does_not_exist,
    isc_map_not_exists,
};

constexpr std::array kLocks{
    isc_deadlock,      isc_lock_conflict, isc_update_conflict, isc_lock_timeout,
    isc_read_conflict, isc_relation_lock, isc_record_lock,
};

constexpr std::array kConnection{
    isc_network_error, isc_net_read_err,        isc_net_write_err, isc_lost_db_connection,
    isc_att_shutdown,  isc_net_server_shutdown, isc_shutdown,      isc_bad_db_handle,
};

template <std::size_t N>
bool In(const std::array<std::intptr_t, N>& codes, std::intptr_t code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

// The category one code of the status vector speaks for, Other when it says nothing specific
// (e.g. isc_dsql_error "Dynamic SQL Error", isc_no_meta_update "unsuccessful metadata update").
Category CategoryOf(std::intptr_t code, std::intptr_t sqlErrorCode) {
  if (code == isc_foreign_key || code == kDsqlForeignKey) return Category::ForeignKeyViolation;
  if (code == isc_unique_key_violation || code == isc_no_dup) return Category::UniqueViolation;
  if (code == isc_sqlerr && sqlErrorCode == -104) return Category::Syntax;
  if (In(kLocks, code)) return Category::LockConflict;
  if (In(kExists, code)) return Category::ObjectExists;
  if (In(kMissing, code)) return Category::ObjectMissing;
  if (In(kConnection, code)) return Category::ConnectionLost;
  return Category::Other;
}

}  // namespace

EDatabaseError::EDatabaseError(const std::string& message, const std::intptr_t* statusVector)
    : Exception(message) {
  if (statusVector == nullptr) return;
  // isc_arg_gds entries are codes; isc_sqlerr is followed by the SQL error code as a number.
  for (const std::intptr_t* p = statusVector; *p != isc_arg_end;) {
    const std::intptr_t kind = *p++;
    if (kind == isc_arg_gds) {
      const std::intptr_t code = *p++;
      gdsCodes_.push_back(code);
      const std::intptr_t sqlErrorCode = (code == isc_sqlerr && *p == isc_arg_number) ? p[1] : 0;
      if (category_ == Category::Other) category_ = CategoryOf(code, sqlErrorCode);
    } else {
      p += (kind == isc_arg_cstring) ? 2 : 1;  // a length and a text, or one argument
    }
  }
  std::array<char, 6> state{};
  fb_sqlstate(state.data(), statusVector);
  sqlState_ = state.data();
}

EDatabaseError::EDatabaseError(const std::string& message, const EDatabaseError& cause)
    : Exception(message),
      gdsCodes_(cause.gdsCodes_),
      sqlState_(cause.sqlState_),
      category_(cause.category_) {}

bool EDatabaseError::IsKeyConstraintViolation() const { return Reports(isc_unique_key_violation); }

bool EDatabaseError::Reports(std::intptr_t gdsCode) const {
  return std::find(gdsCodes_.begin(), gdsCodes_.end(), gdsCode) != gdsCodes_.end();
}

}  // namespace zo
