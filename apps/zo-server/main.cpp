// zo-server serving the demo application.
#include <zo/appserver/AppServer.h>
#include "examples/demo/DemoClasses.h"
#include "examples/demo/DemoModule.h"

int main(int argc, char** argv) {
  zo::app::TServerApplication app;
  app.name = "ZoServer demo";
  app.registerClasses = [] { demo::RegisterDemoClasses(); };
  app.moduleClass = zo::ModuleClassOf<demo::TDemoServerModule>();
  return zo::app::RunAppServer(argc, argv, app);
}
