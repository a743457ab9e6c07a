#pragma once

#include <memory>
#include <string>

#include <zo/schematool/SchemaTool.h>
#include <zo/dbstruct/DBStructClasses.h>

namespace zo::schematool {

// The structure the application's classes expect, and its creation script.
std::unique_ptr<TModuleStruct> ExpectedStruct(const SchemaToolApp& app);
std::string CreationScript(const SchemaToolApp& app);

// Whether the application's classes include the users' table (TUser, USUARIOS).
bool HasUsersTable(const SchemaToolApp& app);

// Builds a new database at `path` (which must not exist): the creation script, the
// application's seed statements and, with the users' table, its password column. Any failure stops
// it; the caller removes what was left.
void BuildDatabase(const SchemaToolApp& app, const std::string& path);

// The script's text as the lines a script component holds.
std::vector<std::string> ScriptLines(const std::string& script);

}  // namespace zo::schematool
