#include "platform/db/CreateDatabase.h"

#include "platform/db/FbHandles.h"

namespace zo {

void CreateDatabaseFile(const std::string& database, const TCreateDatabaseOptions& options) {
  fb::ParamBlock dpb(Firebird::IXpbBuilder::DPB);
  dpb.String(isc_dpb_user_name, options.userName)
      .String(isc_dpb_password, options.password)
      .Int(isc_dpb_page_size, options.pageSize)
      .Int(isc_dpb_sql_dialect, 3)
      .String(isc_dpb_set_db_charset, options.defaultCharSet)
      .String(isc_dpb_lc_ctype, "UTF8")
      .Int(isc_dpb_force_write, options.forcedWrites ? 1 : 0);
  const std::vector<unsigned char> bytes = dpb.Bytes();

  fb::Status status;
  const fb::Ref<Firebird::IProvider> provider(fb::Master()->getDispatcher());
  fb::Attachment attachment(provider->createDatabase(
      status.Throwing(), database.c_str(), static_cast<unsigned>(bytes.size()), bytes.data()));
  attachment.EndWith([](Firebird::IAttachment* a, fb::ThrowStatus* s) { a->detach(s); });
}

}  // namespace zo
