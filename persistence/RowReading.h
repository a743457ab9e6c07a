#pragma once

// Internal to persistence/: reading objects from rows in steps, so that statements which read
// many objects at once (a list's items, the members several items refer to) can fill them from
// their own rows and leave the rest for one further statement per kind of object.

#include <cstdint>
#include <string>
#include <vector>

#include <zo/core/Rtti.h>
#include <zo/mapping/ServerClasses.h>
#include <zo/platform/db/DBXConnection.h>
#include <zo/platform/db/DBXReader.h>

namespace zo::detail {

// What a statement reading rows of a class selects: the columns of its select template, then
// the columns of the hosted members kept in the same row, which are filled from that row.
struct TRowRead {
  std::string columns;
  std::vector<const TRttiProperty*> hostedInRow;
};

TRowRead RowReadOf(const TDataObjectInfoDB& info);

// A composed member named by its identifier in its owner's row, not read yet.
struct TPendingMember {
  TBaseDataObject* owner;
  const TRttiProperty* property;
  int32_t id;
};

// The first pass of ReaderToObject over the row `reader` is on. Hosted members listed in
// `hostedInRow` are filled from this row; the others are read by their own statement. With
// `pending`, composed members are recorded there instead of being read one by one.
void ReadRowInto(TDBXConnection& connection, TDBXReader& reader, TDataObjectInfoDB& info,
                 TBaseDataObject& object, const std::vector<const TRttiProperty*>& hostedInRow,
                 std::vector<TPendingMember>* pending);

// The second pass of ReaderToObject: the object's aggregated lists.
void LoadLists(TDBXConnection& connection, const TDataObjectInfoDB& info, TBaseDataObject& object,
               bool loadOwnClassLists);

// Reads the pending members with one statement per class (a member alone in its class by
// GetDataObject), then their own composed members the same way, level by level, then their
// lists; stores each in its owner with the owner as parent. Every owner gets an instance of its
// own, also when several refer to the same row. A failure raises the message reading member by
// member would have raised.
void LoadPendingMembers(TDBXConnection& connection, const std::vector<TPendingMember>& pending);

// "Erro ao atribuir valor na propriedade ..." for a failure while assigning `property`.
std::string AssignmentError(const TRttiProperty* property, const TBaseDataObject& object,
                            const std::string& cause);

}  // namespace zo::detail
