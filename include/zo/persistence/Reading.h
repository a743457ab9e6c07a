#pragma once

#include <zo/Export.h>

// Reading data objects: by identifier or condition, row by row, with their aggregated lists,
// nested-set trees and binary columns.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Rtti.h>
#include <zo/core/Streams.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/mapping/ZoReader.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>

namespace zo {

// The object stored under `id`. `hostClass` and `hostKeyName` are given only for an object
// kept in its host's table (the key name is the member's column, used as field prefix).
ZO_EXPORT std::unique_ptr<TBaseDataObject> GetDataObject(TDBXConnection& connection, int32_t id,
                                               TDataObjectClass cls,
                                               TDataObjectClass hostClass = nullptr,
                                               const std::string& hostKeyName = "");
ZO_EXPORT std::vector<std::unique_ptr<TBaseDataObject>> GetDataObjectByCondition(
    TDBXConnection& connection, TDataObjectClass cls, const std::string& condition);
// Copies the current row into `object`, then loads its aggregated lists (those whose item
// class is the object's own class only when `loadOwnClassLists`).
ZO_EXPORT void ReaderToObject(TDBXConnection& connection, TDBXReader& reader, TDataObjectInfoDB& info,
                    TBaseDataObject& object, bool loadOwnClassLists);
// Appends the stored children of one aggregated-list property to the list it holds.
ZO_EXPORT void LoadAggregatedList(TDBXConnection& connection, TBaseDataObject& object,
                        const TRttiProperty* listProperty);
// The property of `itemClass` that refers back to `masterClass`, or nullptr.
ZO_EXPORT const TRttiProperty* FindMasterReference(TDataObjectClass itemClass, TDataObjectClass masterClass,
                                         const std::string& referenceName);
// The nested-set rows matching the condition in "lft" order; nullptr (no query) when blank.
ZO_EXPORT std::unique_ptr<TZoReader> GetNestedTree(TDBXConnection& connection, TDataObjectClass cls,
                                         const std::string& condition);
// The bytes of a binary column; nullptr when there is no row, the column is NULL or it cannot
// be read as bytes.
ZO_EXPORT std::unique_ptr<TMemoryStream> GetBlobData(TDBXConnection& connection, int32_t id,
                                           const std::string& propertyName, TDataObjectClass cls);

}  // namespace zo
