#pragma once

#include <zo/Export.h>

// Writing data objects: insert, update and delete with their aggregated lists, binary
// columns, and the checks an insert makes.

#include <cstdint>
#include <string>

#include <zo/core/BaseDataObject.h>
#include <zo/core/Rtti.h>
#include <zo/core/Streams.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo {

// Inserts the object (drawing its Codigo from the generator when negative) and, with
// `writeLists`, its aggregated lists. Returns the identifier.
ZO_EXPORT int32_t InsertDataObject(TDBXConnection& connection, TBaseDataObject& object,
                         bool writeLists = true);
// Writes the properties that differ from the stored row, then synchronises the lists. A null
// object is ignored; an object without identifier (-1) raises.
ZO_EXPORT void UpdateDataObject(TDBXConnection& connection, TBaseDataObject* object,
                      TDataObjectClass hostClass = nullptr, bool writeOwnClassLists = true,
                      const std::string& hostKeyName = "");
ZO_EXPORT void DeleteDataObject(TDBXConnection& connection, int32_t id, TDataObjectClass cls);
// Inserts new children, updates known ones and, with `removeMissing`, deletes (or, in a tree
// of one class, detaches) stored children that left the list.
ZO_EXPORT void ProcessAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                        const TRttiProperty* listProperty, bool removeMissing);
ZO_EXPORT void DeleteAgregations(TDBXConnection& connection, TBaseDataObject& owner,
                       const TRttiProperty* listProperty);
// Deletes the rows of every aggregated list of the stored object `id` (one statement a list).
ZO_EXPORT void DeleteAggregatedRows(TDBXConnection& connection, int32_t id, TDataObjectClass cls);
// Replaces a binary column by the stream's bytes (an absent stream makes it NULL), in its own
// transaction. On failure that transaction's handle is released on the way out, which rolls
// back the level it opened; a transaction of the caller around it is left to the caller.
ZO_EXPORT void SetBlobData(TDBXConnection& connection, int32_t id, const std::string& propertyName,
                 TDataObjectClass cls, TStream* stream);
// Raises, with the message the insert would give, when the object (or an item of its lists)
// breaks its class rules or repeats the value of a unique column that another row holds.
// Writes nothing.
ZO_EXPORT void ValidateDataObject(TDBXConnection& connection, TBaseDataObject& object);
// Raises text + "\r\nTipo = <class>\r\nCódigo: <id>" ("Objeto nulo" for a null object).
[[noreturn]] ZO_EXPORT void RaiseDataObjectError(const TBaseDataObject* object, const std::string& text);

}  // namespace zo
