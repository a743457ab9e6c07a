#pragma once

#include <zo/Export.h>

#include <string>

#include <zo/platform/script/ScriptParser.h>

namespace zo {

// What a script statement is, as the script component's parse event reports it.
enum class TIBParseKind {
  stmtDDL,      // changes the metadata: committed as soon as it has run (while AUTODDL is on)
  stmtDML,      // anything else the server runs, in the script's transaction
  stmtSET,      // an isql setting the component carries out itself
  stmtCOMMIT,   // COMMIT [WORK]
  stmtROLLBACK  // ROLLBACK [WORK]
};

// The isql settings a script may hold. Display settings (SET ECHO, SET LIST...) only shape
// isql's screen output, so they are accepted and have no effect here.
enum class TScriptSetting { None, AutoDDL, SqlDialect, Stats, Names, Display };

struct ZO_EXPORT TParsedStatement {
  TIBParseKind kind = TIBParseKind::stmtDML;
  TScriptSetting setting = TScriptSetting::None;
  // The setting's value as written, upper-cased: "ON", "OFF", "3", "ISO8859_1"; empty when
  // the command gives none (SET AUTODDL alone switches it on, as in isql).
  std::string argument;
};

// Classifies one statement. Throws EScriptParseError (with the statement's text and line
// index) for isql commands that only make sense at isql's prompt or that would take the
// connection or the transaction away from the component: CONNECT, CREATE DATABASE, INPUT,
// SHOW, SET TRANSACTION, unknown SET options and the like. Statements the component does not
// know otherwise are left to the server, whose parser has the last word.
ZO_EXPORT TParsedStatement ParseStatement(const TScriptStatement& statement);

}  // namespace zo
