#include <zo/platform/rpc/RpcServer.h>

#include <algorithm>
#include <optional>
#include <thread>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "platform/rpc/ClientSession.h"
#include "platform/rpc/Listener.h"
#include "platform/rpc/ServerContext.h"

namespace zo::rpc {

namespace net = boost::asio;
using std::chrono::milliseconds;

namespace {
// How long Stop waits for the closing handshakes of the WebSocket clients. A client that is not
// reading never answers; its socket is dropped when the wait ends.
constexpr milliseconds kCloseWait(500);

// The server side of TLS from the operator's PEM files: TLS 1.2 and later only.
std::unique_ptr<net::ssl::context> MakeTlsContext(const RpcServerOptions& options) {
  auto context = std::make_unique<net::ssl::context>(net::ssl::context::tls_server);
  context->set_options(net::ssl::context::default_workarounds | net::ssl::context::no_sslv2 |
                       net::ssl::context::no_sslv3 | net::ssl::context::no_tlsv1 |
                       net::ssl::context::no_tlsv1_1 | net::ssl::context::single_dh_use);
  const auto load = [](const std::string& what, const std::string& file, auto&& step) {
    boost::system::error_code error;
    step(error);
    if (error) throw Exception("Cannot load the TLS " + what + " " + file + ": " + error.message());
  };
  load("certificate", options.tlsCertificateFile, [&](auto& error) {
    context->use_certificate_chain_file(options.tlsCertificateFile, error);
  });
  load("key", options.tlsKeyFile, [&](auto& error) {
    context->use_private_key_file(options.tlsKeyFile, net::ssl::context::pem, error);
  });
  return context;
}
}  // namespace

class RpcServer::Impl {
 public:
  Impl(std::shared_ptr<IRpcSessionFactory> factory, RpcServerOptions options)
      : server_(std::make_unique<ServerContext>(std::move(factory), std::move(options))) {}

  ~Impl() { Stop(); }

  void Start() {
    if (started_) throw Exception("The remote-method server was already started");
    if (!server_->options.tlsCertificateFile.empty()) server_->tls = MakeTlsContext(server_->options);
    io_ = std::make_unique<net::io_context>();
    listener_ = std::make_shared<Listener>(*io_, *server_);
    try {
      port_ = listener_->Open(server_->options.address, server_->options.port);
    } catch (...) {
      listener_.reset();
      io_.reset();
      throw;
    }
    started_ = true;
    work_.emplace(io_->get_executor());
    listener_->Run();
    sweep_ = std::make_unique<net::steady_timer>(*io_);
    ScheduleSweep();
    const unsigned threads = std::max(1u, server_->options.ioThreads);
    for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { io_->run(); });
    server_->log.Write(LogLevel::kInfo, "rpc listening on " + server_->options.address + ":" +
                                            std::to_string(port_));
  }

  void Stop() {
    if (!started_ || server_->stopping.exchange(true)) return;
    listener_->Close();
    // Running calls end on their own; queued ones are refused quickly (the stopping flag).
    if (!server_->connectPool->WaitIdle(server_->options.stopTimeout) ||
        !server_->pool->WaitIdle(server_->options.stopTimeout)) {
      server_->log.Write(LogLevel::kError, "rpc stop: calls still running, closing the sockets");
    }
    // Closing the sockets also fails the callbacks of calls still running.
    server_->connections.ShutdownAll();
    for (const auto& client : server_->httpSessions.TakeAll()) client->Close("server stopped");
    server_->connections.WaitEmpty(kCloseWait);
    StopNetworkThreads();
    // Runs the session destructions queued by the closes and waits for calls still running.
    // Their replies are posted to the stopped io_context, which must outlive them.
    server_->connectPool->Join();
    server_->pool->Join();
    DropNetwork();
    server_->log.Write(LogLevel::kInfo, "rpc stopped");
  }

  std::uint16_t Port() const { return port_; }

 private:
  void StopNetworkThreads() {
    work_.reset();
    sweep_->cancel();
    io_->stop();
    for (auto& thread : threads_) thread.join();
    threads_.clear();
  }

  // Destroys the pending handlers, and with them the connections that did not finish closing.
  void DropNetwork() {
    sweep_.reset();
    listener_.reset();
    io_.reset();
  }

  void ScheduleSweep() {
    const auto idle = server_->options.httpSessionIdle;
    sweep_->expires_after(std::clamp(idle / 4, milliseconds(20), milliseconds(1000)));
    sweep_->async_wait([this, idle](const boost::system::error_code& error) {
      if (error) return;
      for (const auto& client : server_->httpSessions.TakeExpired(idle)) client->Close("expired");
      ScheduleSweep();
    });
  }

  std::unique_ptr<ServerContext> server_;  // outlives everything below, which refers to it
  std::unique_ptr<net::io_context> io_;
  std::optional<net::executor_work_guard<net::io_context::executor_type>> work_;
  std::shared_ptr<Listener> listener_;
  std::unique_ptr<net::steady_timer> sweep_;
  std::vector<std::thread> threads_;
  std::uint16_t port_ = 0;
  bool started_ = false;
};

RpcServer::RpcServer(std::shared_ptr<IRpcSessionFactory> factory, RpcServerOptions options)
    : impl_(std::make_unique<Impl>(std::move(factory), std::move(options))) {}

RpcServer::~RpcServer() = default;

void RpcServer::Start() { impl_->Start(); }
void RpcServer::Stop() { impl_->Stop(); }
std::uint16_t RpcServer::Port() const { return impl_->Port(); }

}  // namespace zo::rpc
