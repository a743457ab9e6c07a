#pragma once

#include <zo/platform/rpc/RpcServer.h>

namespace zo::app {

// The server's log on standard error through spdlog: text lines after a local time stamp, or
// one JSON object a line with "time" first (the transport supplies the other members).
rpc::LogSink MakeServerLog(rpc::LogFormat format);

// Wraps a plain message as the members the transport writes in JSON format.
std::string JsonLogMembers(const char* level, const std::string& message);

}  // namespace zo::app
