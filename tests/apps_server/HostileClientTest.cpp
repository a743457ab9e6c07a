// The transport under attack: each attack must fail while another client logs in and is
// served, and the server must come out of it with its memory and workers back.

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include <zo/core/Exceptions.h>
#include "tests/apps_server/Deployment.h"

namespace zo::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
namespace codes = rpc::codes;

constexpr const char* kGoodOrigin = "https://app.example";

// A bare TCP client that speaks as much HTTP and WebSocket framing as an attacker needs.
class RawSocket {
 public:
  explicit RawSocket(std::uint16_t port) : fd_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout{10, 0};
    ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      throw std::runtime_error("cannot connect");
    }
  }
  ~RawSocket() { ::close(fd_); }
  RawSocket(const RawSocket&) = delete;
  RawSocket& operator=(const RawSocket&) = delete;

  void Send(const std::string& bytes) {
    if (::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("send failed");
    }
  }
  // The response's head, up to the blank line; the status line says how it went.
  std::string ReadHead() {
    std::string head;
    while (head.find("\r\n\r\n") == std::string::npos) {
      const int c = Byte();
      if (c < 0) break;
      head += static_cast<char>(c);
    }
    return head;
  }
  std::string Upgrade(const std::string& origin = "") {
    Send(
        "GET /zo HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
        (origin.empty() ? "" : "Origin: " + origin + "\r\n") + "\r\n");
    return ReadHead();
  }
  // One unmasked frame from the server: {opcode, payload}; opcode -1 at end of stream.
  std::pair<int, std::string> ReadFrame() {
    const int first = Byte();
    const int second = Byte();
    if (first < 0 || second < 0) return {-1, ""};
    std::size_t length = second & 0x7f;
    const int extra = length == 126 ? 2 : length == 127 ? 8 : 0;
    if (extra > 0) length = 0;
    for (int i = 0; i < extra; ++i) length = length << 8 | static_cast<unsigned>(Byte());
    std::string payload;
    for (std::size_t i = 0; i < length; ++i) payload += static_cast<char>(Byte());
    return {first & 0x0f, payload};
  }

 private:
  int Byte() {
    unsigned char c = 0;
    return ::recv(fd_, &c, 1, 0) == 1 ? c : -1;
  }
  int fd_;
};

long RssKb(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  return -1;
}

std::string Nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

std::string RequestText(int id, const std::string& method, const json& params) {
  return json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump();
}

// A client that logs in now and is served: the proof that the attack starves nobody. Returns
// how long the login and one call took.
Clock::duration LoginAndCall(const Deployment& live) {
  const auto start = Clock::now();
  const auto client = live.ConnectWs(kBeta);
  EXPECT_EQ(client->Call("GetCount", {{"AClassName", "TUser"}}), 1);
  return Clock::now() - start;
}

class ServerUnderAttack : public LiveServerTest, public ::testing::WithParamInterface<int> {
 protected:
  static void SetUpTestSuite() {
    StartServer({.serverArgs = {"--workers", "4", "--max-queued-calls", "8", "--allow-origin",
                                kGoodOrigin, "--log-level", "debug"}});
  }
  static void TearDownTestSuite() { StopServer(); }
};

void DeepJsonBeforeLogin(Deployment& live) {
  const auto http = live.OpenHttp();
  const auto response = http->Post(Nested(200000));
  EXPECT_EQ(response.status, 200);
  const json error = json::parse(response.body)["error"];
  EXPECT_EQ(error["code"], codes::kInvalidRequest);
  EXPECT_EQ(error["message"], "Invalid request: arrays and objects nested deeper than 64 levels");

  // Over WebSocket, deep inside an otherwise valid request; the socket stays usable.
  const auto ws = live.OpenWs();
  ws->SendText(R"({"jsonrpc": "2.0", "id": 1, "method": "connect", "params": {"user": )" +
               Nested(300000) + "}}");
  EXPECT_EQ(json::parse(ws->ReceiveText())["error"]["code"], codes::kInvalidRequest);
  ws->SendText(RequestText(2, "connect", {{"x", json::parse(Nested(62))}}));
  EXPECT_EQ(json::parse(ws->ReceiveText())["error"]["code"], codes::kInvalidParams)
      << "64 levels are still read";
  EXPECT_EQ(ws->Connect(Credentials(kAcme)), json::object());
}

// Eight clients start a call with progress messages and never answer them. Only three of the
// four workers may be held that way; the others are refused at once, and a login goes on.
void CallbacksNeverAnswered(Deployment& live) {
  std::vector<std::unique_ptr<rpc::RpcClient>> holders;
  int waiting = 0;
  int refused = 0;
  for (int i = 0; i < 8; ++i) {
    holders.push_back(live.ConnectWs(kAcme));
    holders.back()->SendText(RequestText(7, "RecalcularTotais", {{"Callback", true}}));
    const json message = json::parse(holders.back()->ReceiveText());
    if (message.value("method", "") == "callback") ++waiting;
    if (message.contains("error") && message["error"]["code"] == codes::kBusy) ++refused;
    if (message.contains("result")) ADD_FAILURE() << message;
  }
  EXPECT_EQ(waiting, 3);
  EXPECT_EQ(refused, 5);
  const auto took = LoginAndCall(live);
  std::printf("login and call while 3 calls wait for callbacks: %.1f ms\n",
              std::chrono::duration<double, std::milli>(took).count());
  EXPECT_LT(took, 5s);
}

// A client that sends and never reads: the server stops reading it once 8 calls or answers
// are pending, so its sends block; its memory goes back when it leaves. Each answer names the
// unknown method, so the answers fill the socket's buffers before the requests run out.
void FloodWithoutReading(Deployment& live) {
  const pid_t pid = live.Server().Pid();
  const long before = RssKb(pid);
  auto options = ClientOptions();
  options.timeout = 3s;
  rpc::RpcClient flooder(options);
  flooder.Open("127.0.0.1", live.Port());
  flooder.Connect(Credentials(kAcme));
  const std::string padding(8192, 'p');
  int sent = 0;
  try {
    for (; sent < 20000; ++sent) {
      flooder.SendText(RequestText(sent, "GetCount" + padding, {{"AClassName", "TUser"}}));
    }
  } catch (const Exception&) {
    // Blocked: the server no longer reads this client.
  }
  EXPECT_LT(sent, 20000) << "the server kept reading a client that never reads";
  const long during = RssKb(pid);
  LoginAndCall(live);
  flooder.Close();
  std::this_thread::sleep_for(500ms);
  const long after = RssKb(pid);
  std::printf("flood: %d requests sent; RSS %ld kB before, %ld during, %ld after\n", sent, before,
              during, after);
  EXPECT_LT(during - before, 64 * 1024);
  EXPECT_LT(after - before, 32 * 1024);
}

// A frame header announcing 2^62 bytes, followed by a few: refused before the rest arrives.
void OversizedFrameHeader(Deployment& live) {
  RawSocket socket(live.Port());
  ASSERT_NE(socket.Upgrade().find(" 101 "), std::string::npos);
  socket.Send(std::string("\x81\xff\x40\0\0\0\0\0\0\0\x01\x02\x03\x04", 14) + "abcdefgh");
  const auto [opcode, payload] = socket.ReadFrame();
  EXPECT_EQ(opcode, 1);
  EXPECT_EQ(json::parse(payload)["error"]["code"], codes::kMessageTooLarge);
  const auto [closeOpcode, reason] = socket.ReadFrame();
  EXPECT_EQ(closeOpcode, 8);
  ASSERT_GE(reason.size(), 2u);
  EXPECT_EQ((static_cast<unsigned char>(reason[0]) << 8) | static_cast<unsigned char>(reason[1]),
            1009);
}

// A page of another site may not use a browser's credentials on this server.
void ForeignOrigin(Deployment& live) {
  EXPECT_NE(RawSocket(live.Port()).Upgrade("https://evil.example").find(" 403 "),
            std::string::npos);
  EXPECT_NE(RawSocket(live.Port()).Upgrade(kGoodOrigin).find(" 101 "), std::string::npos);
  const std::string body = RequestText(1, "GetCount", {});
  const auto post = [&](const std::string& origin) {
    RawSocket socket(live.Port());
    socket.Send("POST /zo/rpc HTTP/1.1\r\nHost: 127.0.0.1\r\nOrigin: " + origin +
                "\r\nContent-Type: application/json\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body);
    return socket.ReadHead();
  };
  EXPECT_NE(post("https://evil.example").find(" 403 "), std::string::npos);
  EXPECT_NE(post(kGoodOrigin).find(" 200 "), std::string::npos);
}

// A second zo-server on the same application root would fight the first over the database
// files: it refuses to start.
void SecondServerOnTheSameRoot(Deployment& live) {
  const TempDir io;
  const int code = RunTool(ZO_SERVER_BIN, {"--root", live.Root().string(), "--port", "0"},
                           {{}, {}, {}, io.Path() / "err"}, 30s);
  EXPECT_EQ(code, 2);
  EXPECT_NE(ReadText(io.Path() / "err").find("Outro zo-server já está servindo"), std::string::npos)
      << ReadText(io.Path() / "err");
}

struct Attack {
  const char* name;
  void (*run)(Deployment& live);
};

const Attack kAttacks[] = {{"DeepJsonBeforeLogin", DeepJsonBeforeLogin},
                           {"CallbacksNeverAnswered", CallbacksNeverAnswered},
                           {"FloodWithoutReading", FloodWithoutReading},
                           {"OversizedFrameHeader", OversizedFrameHeader},
                           {"ForeignOrigin", ForeignOrigin},
                           {"SecondServerOnTheSameRoot", SecondServerOnTheSameRoot}};

TEST_P(ServerUnderAttack, FailsAndLeavesTheOthersServed) {
  const Attack& attack = kAttacks[GetParam()];
  attack.run(Live());
  EXPECT_LT(LoginAndCall(Live()), 5s) << attack.name;
  // Nothing was left running: every worker is free again.
  const auto client = Live().ConnectWs(kAcme);
  client->SetCallbackHandler([](const json&) { return json(false); });
  EXPECT_TRUE(client->Call("RecalcularTotais", {{"Callback", true}}).is_number());
}

INSTANTIATE_TEST_SUITE_P(Attacks, ServerUnderAttack,
                         ::testing::Range(0, static_cast<int>(std::size(kAttacks))),
                         [](const auto& info) { return std::string(kAttacks[info.param].name); });

}  // namespace
}  // namespace zo::testing
