#pragma once

#include <string>

#include <zo/platform/rpc/RpcServer.h>

namespace zo::app {

// The server's log on standard error through spdlog: text lines after a local time stamp, or
// one JSON object a line with "time" first (the transport supplies the other members).
rpc::LogSink MakeServerLog(rpc::LogFormat format);

// The log of the application's own lines ("warning: ...", "error: ...", "debug: ..."): as
// they are in text format, as {"level": ..., "msg": ...} in JSON.
rpc::LogSink MakeApplicationLog(rpc::LogSink serverLog, rpc::LogFormat format);

}  // namespace zo::app
