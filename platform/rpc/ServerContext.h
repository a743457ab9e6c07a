#pragma once

#include <atomic>
#include <memory>

#include "platform/rpc/AccessLog.h"
#include "platform/rpc/ConnectionRegistry.h"
#include "platform/rpc/HttpSessionStore.h"
#include "platform/rpc/ServerMetrics.h"
#include <zo/platform/rpc/RpcServer.h>
#include "platform/rpc/WorkerPool.h"

namespace zo::rpc {

// What every connection and client of one server shares.
struct ServerContext {
  ServerContext(std::shared_ptr<IRpcSessionFactory> sessionFactory, RpcServerOptions serverOptions)
      : factory(std::move(sessionFactory)),
        options(std::move(serverOptions)),
        log(options.logLevel, options.logFormat, options.logSink),
        pool(std::make_shared<WorkerPool>(options.workers)) {}

  std::shared_ptr<IRpcSessionFactory> factory;
  const RpcServerOptions options;
  Logger log;
  std::shared_ptr<WorkerPool> pool;
  ConnectionRegistry connections;
  HttpSessionStore httpSessions;
  ServerMetrics metrics;
  std::atomic<bool> stopping{false};  // new calls are refused
};

}  // namespace zo::rpc
