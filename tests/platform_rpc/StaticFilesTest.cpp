// The static-file route's path handling: what a browser may fetch below the console directory,
// and that nothing outside it is reachable, by escapes or by symbolic links.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/rpc/StaticFiles.h"
#include "tests/support/TempDir.h"

namespace zo::rpc {
namespace {

namespace fs = std::filesystem;

class StaticFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(site_ / "js");
    std::ofstream(site_ / "index.html") << "<p>index</p>";
    std::ofstream(site_ / "js" / "main.js") << "main()";
    std::ofstream(site_ / ".env") << "hidden";
    std::ofstream(dir_.Path() / "secret.txt") << "secret";
    fs::create_symlink(dir_.Path() / "secret.txt", site_ / "link.txt");
  }
  std::optional<StaticReply> Get(std::string_view target, std::string_view method = "GET") {
    return ServeStatic(site_, "/console/", method, target);
  }

  testing::TempDir dir_;
  fs::path site_ = dir_.Path() / "site";
};

TEST_F(StaticFilesTest, ServesFilesWithTheirTypesAndNothingOutside) {
  struct Case {
    const char* target;
    unsigned status;
    const char* body;  // expected body of a 200
  };
  const Case cases[] = {
      {"/console/", 200, "<p>index</p>"},
      {"/console/index.html?x=1", 200, "<p>index</p>"},
      {"/console/js/main.js", 200, "main()"},
      {"/console/js/%6Dain.js", 200, "main()"},
      {"/console/js/", 404, nullptr},  // no index.html there
      {"/console/../secret.txt", 400, nullptr},
      {"/console/js/..%2F..%2Fsecret.txt", 400, nullptr},
      {"/console/%2e%2e/secret.txt", 400, nullptr},
      {"/console/.env", 400, nullptr},
      {"/console/..\\secret.txt", 400, nullptr},
      {"/console/index.html%00.js", 400, nullptr},
      {"/console/%zz", 400, nullptr},
      {"/console/%2", 400, nullptr},
      {"/console/link.txt", 404, nullptr},  // a symbolic link out of the directory
      {"/console/nothing.js", 404, nullptr},
  };
  for (const auto& c : cases) {
    const auto reply = Get(c.target);
    ASSERT_TRUE(reply) << c.target;
    EXPECT_EQ(reply->status, c.status) << c.target;
    if (c.body != nullptr) {
      EXPECT_EQ(reply->body, c.body) << c.target;
    }
    EXPECT_EQ(reply->body.find("secret"), std::string::npos) << c.target;
  }
  EXPECT_EQ(Get("/console/js/main.js")->contentType, "text/javascript; charset=utf-8");
  EXPECT_EQ(Get("/console/")->contentType, "text/html; charset=utf-8");
}

TEST_F(StaticFilesTest, RedirectsTheBarePathRefusesOtherMethodsAndLeavesOtherRoutes) {
  const auto redirect = Get("/console");
  ASSERT_TRUE(redirect);
  EXPECT_EQ(redirect->status, 301u);
  EXPECT_EQ(redirect->location, "/console/");
  EXPECT_EQ(Get("/console/", "POST")->status, 405u);
  EXPECT_FALSE(Get("/zo/rpc"));
  EXPECT_FALSE(Get("/consolex/index.html"));
}

}  // namespace
}  // namespace zo::rpc
