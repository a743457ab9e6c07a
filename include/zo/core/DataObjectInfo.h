#pragma once

#include <zo/Export.h>

#include <string>
#include <string_view>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/DataObjectList.h>
#include <zo/core/Rtti.h>

namespace zo {

// Per-class metadata of the core library: the class, its properties, its key property, and
// the SQL literal forms of property values. The server's mapping layer derives from it.
class ZO_EXPORT TDataObjectInfo {
 public:
  TDataObjectInfo() = default;
  TDataObjectInfo(const TDataObjectInfo&) = delete;
  TDataObjectInfo& operator=(const TDataObjectInfo&) = delete;
  virtual ~TDataObjectInfo() = default;

  // Records the class and (re-)extracts its information through the virtual ExtractInfo.
  void SetClass(TDataObjectClass cls);
  virtual void ExtractInfo(TDataObjectClass cls);
  // The key column: the key property's annotation name ("" without a key property).
  virtual std::string GetKeyName() const;

  const TRttiProperty* FindProperty(std::string_view name) const;
  static TDataObjectClass GetClassOfList(const TDataObjectList* list);
  static TDataObjectClass GetClassOfPropertyList(const TRttiProperty* prop);

  // The values of `props` as SQL literals. Without assignments: comma-separated, key first,
  // then the insert columns (no lists, embedded members or large objects). With assignments:
  // "COLUMN = literal" pairs, the columns carrying `prefix` as "%s_%s". An empty text of a
  // unique column (skill 3) is NULL, so that objects without a value never collide.
  std::string PropValueToStr(const TBaseDataObject& obj,
                             const std::vector<const TRttiProperty*>& props, bool assignments,
                             const std::string& prefix) const;
  // One value as an SQL literal: strings single-quoted with quotes doubled, numbers in
  // decimal ('.' and round-trip precision for floats), Booleans 1/0, dates 'YYYY-MM-DD',
  // timestamps 'YYYY-MM-DD HH:MM:SS.zzz', times 'HH:MM:SS.zzz'; a zero date, a TForeignKey
  // of -1 and an absent object are NULL; a referenced object is its Codigo.
  static std::string ValueToStr(const TValue& value);
  // Raises when the object breaks its class rules: a required value missing, a string longer
  // than its column, text the database's character set cannot hold, a non-finite number.
  void Validate(const TBaseDataObject& obj) const;

  TDataObjectClass DataClass() const { return fDataClass; }
  const TRttiType* RttiType() const { return fDataClass; }
  // Persistent properties in declaration order (ancestors' first).
  const std::vector<const TRttiProperty*>& Properties() const { return fProperties; }
  const std::vector<const TRttiProperty*>& AllProperties() const { return fProperties; }
  // The aggregated-list properties, in declaration order.
  const std::vector<const TRttiProperty*>& ListProperties() const { return fListProperties; }
  const TRttiProperty* KeyProperty() const { return fKeyProperty; }

 protected:
  TDataObjectClass fDataClass = nullptr;
  std::vector<const TRttiProperty*> fProperties;
  std::vector<const TRttiProperty*> fListProperties;
  const TRttiProperty* fKeyProperty = nullptr;
};

}  // namespace zo
