#pragma once

#include <functional>
#include <memory>
#include <string>

#include <zo/appserver/Authenticator.h>
#include <zo/server/ZoServer.h>

namespace zo::app {

// What an application brings to the server: its name, the start-up registration of its data
// classes and text resources, and its module class.
struct TServerApplication {
  std::string name;
  std::function<void()> registerClasses;
  TModuleClass moduleClass;
  // Empty: the default authenticator (password hashes in USUARIOS).
  std::function<std::unique_ptr<IAuthenticator>()> makeAuthenticator;
};

// Parses the command line, changes to the application root, serves until SIGINT/SIGTERM and
// returns the process exit code (0 ok, 1 bad usage, 2 failure to start).
int RunAppServer(int argc, char** argv, const TServerApplication& app);

}  // namespace zo::app
