#pragma once

#include <algorithm>
#include <atomic>
#include <memory>

#include <boost/asio/ssl/context.hpp>

#include "platform/rpc/AccessLog.h"
#include "platform/rpc/CallLimit.h"
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
        pool(std::make_shared<WorkerPool>(options.workers)),
        connectPool(std::make_shared<WorkerPool>(options.connectWorkers)),
        callbackCalls(CallbackCallLimit(options)) {}

  // The default leaves a quarter of the workers (at least one, when there are two or more) to
  // calls that never wait for a client; an explicit limit is kept below the worker count too.
  static unsigned CallbackCallLimit(const RpcServerOptions& options) {
    const unsigned workers = std::max(1u, options.workers);
    const unsigned limit =
        options.maxCallbackCalls == 0 ? workers - workers / 4 : options.maxCallbackCalls;
    return std::max(1u, std::min(limit, workers > 1 ? workers - 1 : 1u));
  }

  std::shared_ptr<IRpcSessionFactory> factory;
  const RpcServerOptions options;
  Logger log;
  std::shared_ptr<WorkerPool> pool;
  std::shared_ptr<WorkerPool> connectPool;  // "connect" only: logins never wait behind calls
  CallLimit callbackCalls;                  // WebSocket calls that may wait for callback answers
  std::unique_ptr<boost::asio::ssl::context> tls;  // set when the port speaks TLS
  ConnectionRegistry connections;
  HttpSessionStore httpSessions;
  ServerMetrics metrics;
  std::atomic<bool> stopping{false};  // new calls are refused
};

}  // namespace zo::rpc
