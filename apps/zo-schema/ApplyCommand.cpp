// zo-schema apply: runs a script on a database with the script runner.

#include <filesystem>
#include <fstream>

#include "apps/zo-schema/Files.h"
#include "apps/zo-schema/SchemaModel.h"
#include "apps/zo-schema/SequenceResets.h"
#include "apps/zo-schema/ToolContext.h"
#include "apps/zo-schema/UniqueDuplicates.h"
#include <zo/schema/DBScriptRunner.h>

namespace zo::schematool {
namespace {

namespace fs = std::filesystem;

// The statement's first line, blanks collapsed, cut to fit a progress line.
std::string Summary(const std::string& statement) {
  std::string line = statement.substr(0, statement.find('\n'));
  std::string result;
  for (const char c : line) {
    if (c == ' ' || c == '\t') {
      if (!result.empty() && result.back() != ' ') result += ' ';
    } else {
      result += c;
    }
  }
  constexpr size_t kWidth = 70;
  if (result.size() > kWidth || line.size() < statement.size()) {
    result = result.substr(0, std::min(result.size(), kWidth)) + " ...";
  }
  return result;
}

std::string Join(const std::set<std::string>& names) {
  std::string result;
  for (const auto& name : names) result += (result.empty() ? "" : ", ") + name;
  return result;
}

// The runner appends to the log but never creates it.
void EnsureLogExists() {
  if (!fs::exists(kScriptErrorLogFile)) std::ofstream(kScriptErrorLogFile, std::ios::app);
}

int Run(const TCommandLine& args, const TToolContext& context) {
  args.ExpectPositional({"SCRIPT"});
  const std::string database = args.Required("db");
  if (IsLocalDatabase(database) && !fs::exists(database)) {
    context.err << "erro: banco de dados não encontrado: " << database << "\n";
    return kExitFailure;
  }
  TSQLScriptRunner runner;
  runner.setDatabaseFile(database);
  runner.getSQLScript() = ScriptLines(ReadTextFile(args.Positional()[0]));
  TIBScript& script = runner.IBScript();
  const std::vector<TScriptStatement> statements = script.ValidateScript();

  const auto restarted = RestartedSequences(statements);
  if (!restarted.empty() && !args.Has("allow-sequence-reset")) {
    runner.IBDataBase().Open();
    const auto existing =
        ExistingSequences(runner.IBDataBase().Connection().DBXConnection(), restarted);
    if (!existing.empty()) {
      context.err << "erro: o script reinicia sequências que já existem no banco ("
                  << Join(existing)
                  << "); os próximos identificadores repetiriam os já usados. É um script de "
                     "criação? Use --allow-sequence-reset para rodá-lo assim mesmo.\n";
      return kExitFailure;
    }
  }

  // The database would refuse such a constraint with an error the runner tolerates as a
  // duplicate: the column would silently stay without it.
  runner.IBDataBase().Open();
  if (const auto repeated =
          FindRepeatedUniqueValue(runner.IBDataBase().Connection().DBXConnection(), statements)) {
    context.err << "erro: a coluna " << repeated->column << " da tabela " << repeated->table
                << " tem valores repetidos (por exemplo '" << repeated->value
                << "'); a restrição única " << repeated->constraint
                << " não pode ser criada. Corrija os dados e rode o script de novo; nada foi "
                   "aplicado.\n";
    return kExitFailure;
  }

  EnsureLogExists();
  TScriptStatement current;
  int currentIndex = 0;
  int tolerated = 0;
  script.SetOnStatement([&](TObject*, int index, int count, const TScriptStatement& statement) {
    current = statement;
    currentIndex = index;
    context.err << "[" << index + 1 << "/" << count << "] " << Summary(statement.text) << "\n";
  });
  // The runner's own handler decides and logs; this only counts what it let through.
  script.SetOnError([&](TObject* sender, const std::string& error, const std::string& sqlText,
                        int lineIndex, bool& ignore) {
    runner.OnScriptError(sender, error, sqlText, lineIndex, ignore);
    ++tolerated;
  });
  try {
    script.ExecuteScript();
  } catch (const std::exception& e) {
    context.err << "erro no comando " << currentIndex + 1 << "/" << statements.size() << " (linha "
                << current.lineIndex + 1 << " do script): " << e.what() << "\n";
    return kExitFailure;
  }
  context.err << "Script aplicado: " << statements.size() << " comandos";
  if (tolerated > 0) {
    context.err << ", " << tolerated << " erro(s) tolerado(s) registrado(s) em "
                << kScriptErrorLogFile;
  }
  context.err << "\n";
  return kExitOk;
}

}  // namespace

TCommand ApplyCommand() {
  return {"apply",
          "roda um script SQL no banco de dados, comando a comando",
          "Uso: {prog} apply --db ARQUIVO [--allow-sequence-reset] SCRIPT\n"
          "\n"
          "Roda o SCRIPT (\"-\" lê da entrada padrão) no banco de dados, comando a comando,\n"
          "mostrando o progresso. Erros de objetos que já existem e de valores duplicados\n"
          "(\"already exists\", \"attempt to store duplicate value\") são tolerados e\n"
          "registrados em ScriptErrorLog.txt no diretório atual; qualquer outro erro para o\n"
          "script. DDL é confirmado a cada comando; o resto, no fim do script ou no COMMIT.\n"
          "Um script que cria uma restrição única numa coluna que já repete um valor não é\n"
          "rodado: a mensagem diz a tabela, a coluna e um dos valores repetidos.\n"
          "\n"
          "  --db ARQUIVO             o banco de dados\n"
          "  --allow-sequence-reset   roda mesmo um script que reinicia sequências que o banco\n"
          "                           já tem (um script de criação num banco em uso): os\n"
          "                           identificadores recomeçam e colidem com os existentes\n",
          {{"db", true}, {"allow-sequence-reset", false}},
          &Run};
}

}  // namespace zo::schematool
