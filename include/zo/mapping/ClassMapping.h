#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/core/DataObjectInfo.h>

namespace zo {

// Where a class's columns live. By default in the class's own table; an embedded class lives
// in its host class's row, under the host's key, with its column names prefixed "%s_%s".
// A plain value: whoever needs the placement is handed it, nothing remembers the last one.
struct ZO_EXPORT TPlacement {
  TDataObjectClass hostClass = nullptr;
  std::string fieldPrefix;

  // The column of `prop` here: its attribute name, prefixed when a field prefix is set.
  std::string Column(const TRttiProperty* prop) const;
  bool operator==(const TPlacement&) const = default;
};

// The mapping of one data class onto its own table: the class, its persistent properties and
// key property (from the core metadata), its table name and whether it is merged into its
// host's table. Built once from the class and never changed afterwards, so one instance is
// shared by every thread and every placement of the class.
class ZO_EXPORT TClassMapping final : public TDataObjectInfo {
 public:
  explicit TClassMapping(TDataObjectClass cls);

  // Raises when the class has no key property.
  std::string GetKeyName() const override;
  // The table name without the class's table prefix.
  const std::string& TableName() const { return FTableName; }
  // The class annotation marks the class as an extension of its host's table.
  bool TableMerged() const { return FTableMerged; }
  // The full table name at `placement`: the host's (an embedded class lives there), or this
  // class's prefix followed by its table name.
  std::string TableNameAt(const TPlacement& placement) const;

 private:
  void ExtractInfo(TDataObjectClass cls) override;

  std::string FTableName;
  bool FTableMerged = false;
};

}  // namespace zo
