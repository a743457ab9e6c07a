#pragma once

// Internal to persistence/: small pieces shared by its source files.

#include <string>
#include <string_view>

#include <zo/core/Attributes.h>
#include <zo/core/Rtti.h>
#include <zo/core/Streams.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/platform/db/DBXConnection.h>

namespace zo::detail {

// The first `count` code points of UTF-8 text (never cutting a character in two).
std::string Utf8Left(std::string_view s, size_t count);

// A property's column in the table of `info`: "%s_%s" with the field prefix when there is one.
std::string PrefixedColumn(const TDataObjectInfoDB& info, const TRttiProperty* prop);

// The property named `name` of the class of `info`; raises when there is none.
const TRttiProperty* RequireProperty(const TDataObjectInfoDB& info, const std::string& name);

// What the first annotation of an aggregated-list property says: the reference column's name
// and the master class (`ownerClass` when the annotation names none).
std::string ListReferenceName(const TRttiProperty* listProperty);
TDataObjectClass ListMasterClass(const TRttiProperty* listProperty, TDataObjectClass ownerClass);

// The key column of the rows `info` addresses: the host's key for an object kept in its
// host's table, the class's own otherwise.
std::string RowKeyName(const TDataObjectInfoDB& info);

// Replaces the binary column of `prop` in row `id` by the bytes of `stream`, appended in
// hexadecimal chunks after the column is emptied; no stream makes the column NULL. Opens no
// transaction of its own.
void WriteBinaryBlob(TDBXConnection& connection, const TDataObjectInfoDB& info,
                     const TRttiProperty* prop, int32_t id, TStream* stream);

// The stream a binary-blob property (skill 5) holds, or nullptr: also for a bitmap, which is
// never written from the object.
TStream* HeldBinaryBlob(const TBaseDataObject& object, const TRttiProperty* prop);

// The first unique property (skill 3) of the object whose value another row of its table
// already holds, or nullptr. An empty text is stored as NULL and never collides.
const TRttiProperty* FindDuplicatedProperty(TDBXConnection& connection,
                                            const TDataObjectInfoDB& info,
                                            const TBaseDataObject& object);

// A new identifier from the generator of `table`, as Novocodigo draws it, for the objects an
// insert writes. Its text does not change between calls, so the connection keeps it prepared:
// a graph of many objects pays one execution per key, not one preparation. When it fails,
// Novocodigo runs instead, so the failure reads exactly as Novocodigo's.
int32_t DrawKey(TDBXConnection& connection, const std::string& table);

// What a refused duplicate is answered with, naming the property.
std::string DuplicateValueMessage(const TBaseDataObject& object, const TRttiProperty* prop);

}  // namespace zo::detail
