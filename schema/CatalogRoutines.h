#pragma once

#include <zo/dbstruct/DBStructClasses.h>

// The procedures, triggers and external functions part of the catalog reader (see
// CatalogReader.h). Internal to schema/.
namespace zo {
class TDBXConnection;
}

namespace zo::catalog {

// Stand-alone procedures (not those of packages), each as its CREATE PROCEDURE statement
// without terminator: header, parameters and the stored source.
void ReadProcedures(TDBXConnection& connection, TModuleStruct& module);

// Table and database triggers as CREATE TRIGGER statements without terminator. Triggers the
// engine made for CHECK constraints and DDL triggers are left out.
void ReadTriggers(TDBXConnection& connection, TModuleStruct& module);

// DECLARE EXTERNAL FUNCTION declarations: the return argument first, then the parameters.
void ReadExternalFunctions(TDBXConnection& connection, TModuleStruct& module);

}  // namespace zo::catalog
