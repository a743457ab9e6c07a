// library-server: the application server of the lending library.
#include <zo/appserver/AppServer.h>

#include "LibraryClasses.h"
#include "LibraryModule.h"

int main(int argc, char** argv) {
  zo::app::TServerApplication app;
  app.name = "Library server";
  app.registerClasses = &library::RegisterLibraryClasses;
  app.moduleClass = zo::ModuleClassOf<library::TLibraryServerModule>();
  return zo::app::RunAppServer(argc, argv, app);
}
