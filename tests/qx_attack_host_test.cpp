// SPDX-License-Identifier: Apache-2.0
// What belongs to the host: its sockets, descriptors, threads, signals, forks and errors, and its end.
#include <gtest/gtest.h>

#include <openssl/err.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "loopback/raw_server.h"
#include "loopback/tls_identity.h"
#include "qx/qx.h"
#include "support/child_process.h"
#include "support/full_listener.h"
#include "support/rest_caller.h"
#include "support/test_names.h"

namespace {

using loopback::RawConnection;
using loopback::RawEnd;
using loopback::RawServer;
using support::Caller;
using support::FullListener;
using support::okReply;

constexpr std::chrono::milliseconds kWait{300};
constexpr int kHandful = 8;

std::string at(const std::string& name, int port, const std::string& scheme = "http") {
  return scheme + "://" + name + ":" + std::to_string(port);
}

std::ptrdiff_t countEntries(const char* directory) {
  return std::distance(std::filesystem::directory_iterator(directory), {});
}

struct Host : testing::Test {
  const loopback::TestAuthority authority;
  const standin::TlsIdentity identity = authority.issue("IP:127.0.0.1");
  std::optional<RawServer> server;
  Caller caller;
  ~Host() override { support::releaseLookups(); }
};

std::vector<std::string> takeErrors() {
  std::vector<std::string> errors;
  const char* data = nullptr;
  while (const unsigned long code = ERR_get_error_all(nullptr, nullptr, nullptr, &data, nullptr)) {
    errors.push_back(std::to_string(ERR_GET_REASON(code)) + data);
  }
  return errors;
}

// Ours stayed there and the host's were cleared: OpenSSL then told the host that its own healthy connection had failed.
TEST_F(Host, KeepsItsErrorsOfOpenSSLAndGetsNoneOfOurs) {
  const loopback::TestAuthority other;
  const RawServer plain({2, RawConnection{}});
  for (const std::vector<std::string>& own : {std::vector<std::string>{"101first", "102second"}, {}}) {
    server.emplace(std::vector<RawConnection>{{}, {{okReply("1"), okReply("2")}, RawEnd::Silent}}, &identity);
    std::optional<Caller> kept(std::in_place);
    const auto get = [&kept](const std::string& url, const loopback::TestAuthority& trusted) {
      kept->settings.caFile = trusted.file();
      return kept->get(url).code;
    };
    const std::vector<std::pair<std::int32_t, std::function<std::int32_t()>>> steps = {
        {CMRestCode::UnknownAuthority, [&] { return get(server->url(), other); }},
        {CMRestCode::TLSFailed, [&] { return get(at("127.0.0.1", plain.port(), "https"), authority); }},
        {CMRestCode::Success, [&] { return get(server->url(), authority); }},
        {CMRestCode::Success, [&] { return get(server->url(), authority); }},
        {CMRestCode::Success, [&] { return kept.reset(), CMRestCode::Success; }},
    };
    for (const auto& [code, step] : steps) {
      ERR_clear_error();
      if (!own.empty()) ERR_raise_data(ERR_LIB_USER, 101, "first");
      if (!own.empty()) ERR_raise_data(ERR_LIB_USER, 102, "second");

      EXPECT_EQ(step(), code);
      EXPECT_EQ(takeErrors(), own) << code;
    }
  }
}

// Sockets that libcurl had closed untold were remembered: their numbers were the host's by then, and the next question
// read from them and shut them down.
TEST_F(Host, KeepsSocketsWhereOursWere) {
  const FullListener four;
  const FullListener six(four.port());
  server.emplace(std::vector(4, RawConnection{{okReply("1")}, RawEnd::Silent}));
  const FullListener slow(server->port());
  for (const int code : {CMRestCode::ConnectTimedOut, CMRestCode::Cancelled, CMRestCode::Success}) {
    Caller fresh;
    const std::string url =
        code == CMRestCode::Success ? at("both.test", server->port()) : at("both.test", four.port());
    fresh.settings.connectTimeoutMs = code == CMRestCode::ConnectTimedOut ? kWait.count() : 0;
    auto lost = std::async(std::launch::async, [&] { return fresh.get(url).code; });
    const bool isLate = lost.wait_for(kWait) != std::future_status::ready;
    if (code == CMRestCode::Cancelled && isLate) fresh.cancelSource->cancel();
    EXPECT_EQ(lost.get(), code);
    std::array<int, 16> sockets{};
    for (std::size_t i = 0; i < sockets.size(); i += 2) ::socketpair(AF_UNIX, SOCK_STREAM, 0, &sockets[i]);
    for (const int socket : sockets) EXPECT_EQ(::send(socket, "a", 1, MSG_NOSIGNAL), 1);

    EXPECT_EQ(fresh.get(server->url()).body(), "1");

    std::array<char, 2> bytes{};
    for (const int socket : sockets) {
      EXPECT_EQ(::recv(socket, bytes.data(), 2, MSG_DONTWAIT), 1) << code;
      EXPECT_EQ(::recv(socket, bytes.data(), 2, MSG_DONTWAIT), -1) << code;
    }
    std::for_each(sockets.begin(), sockets.end(), ::close);
  }
}

TEST_F(Host, LosesNoQuestionOfAnotherPoolToThem) {
  const FullListener four;
  const FullListener six(four.port());
  server.emplace(std::vector(200, RawConnection{std::vector(200, okReply("1"))}));
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      Caller own;
      for (int round = 0; round < 8; ++round) {
        own.settings.connectTimeoutMs = 210 + 5 * round;
        EXPECT_EQ(own.get(at("both.test", four.port())).code, CMRestCode::ConnectTimedOut);
        own.settings.connectTimeoutMs = 0;
        for (int question = 0; question < 20; ++question) EXPECT_EQ(own.get(server->url()).body(), "1");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// OpenSSL had cleaned up under calls that were running or still to come.
TEST_F(Host, EndsAsItLikesWhateverRunsOverTLS) {
  const standin::Server secure(identity);
  for (const char* const occasion : {"running", "first", "second"}) {
    int badCount = 0;
    for (int i = 0; i < 30; ++i) {
      badCount += support::runChild({QX_ENDING_HOST, occasion, secure.url(), authority.file()}).exitCode != 7 ? 1 : 0;
    }
    EXPECT_EQ(badCount, 0) << occasion;
  }
}

// It waited for a lock that the interrupted thread held.
TEST_F(Host, MayCancelInASignalHandler) {
  static QXCancelSource* source = nullptr;
  source = caller.cancelSource.get();
  std::signal(SIGUSR1, [](int) { source->cancel(); });
  server.emplace(std::vector(200, RawConnection{{""}, RawEnd::Silent}));
  std::atomic<bool> hasEnded = false;
  ::alarm(20 * TEST_TIME_FACTOR);  // a deadlock ends the program
  std::thread canceller([&] {
    while (!hasEnded) source->cancel();
  });
  std::thread sender([&, asking = ::pthread_self()] {
    for (int i = 0; !hasEnded; ++i) ::pthread_kill(i % 2 == 0 ? asking : canceller.native_handle(), SIGUSR1);
  });

  for (int i = 0; i < 200; ++i) EXPECT_EQ(caller.get(server->url()).code, CMRestCode::Cancelled);

  hasEnded = true;
  sender.join();
  canceller.join();
  ::alarm(0);
  std::signal(SIGUSR1, SIG_DFL);
}

// A pool that had met this could not be woken any more, and the sentence was about the host's name.
TEST_F(Host, HearsThatDescriptorsRanOutAndCanGoOnLater) {
  server.emplace(std::vector<RawConnection>{{{okReply("1"), ""}, RawEnd::Silent}});
  // A sanitizer opens a pipe when it meets a class for the first time.
  if (TEST_TIME_FACTOR > 1) caller.get("http://named.test:1");
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const int lowest = ::dup(STDIN_FILENO);
  ::close(lowest);
  const rlimit none{static_cast<rlim_t>(lowest), before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &none);
  for (const char* const name : {"127.0.0.1", "named.test", "localhost"}) {
    EXPECT_EQ(caller.get(at(name, server->port())).code, CMRestCode::OutOfDescriptors) << name;
  }
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(caller.get(server->url()).body(), "1");

  auto code = std::async(std::launch::async, [&] { return caller.get(server->url()).code; });
  server->waitForRequests(2);
  caller.cancelSource->cancel();

  EXPECT_EQ(code.wait_for(std::chrono::milliseconds(500 * TEST_TIME_FACTOR)), std::future_status::ready);
  EXPECT_EQ(code.get(), CMRestCode::Cancelled);
}

// The resolver's pair of sockets was among them.
TEST_F(Host, StartsProgramsThatInheritNothingOfOurs) {
  server.emplace(std::vector<RawConnection>{{{"", ""}, RawEnd::Silent}, {{okReply("1")}, RawEnd::Silent}});
  const auto countInherited = [] {
    const std::string listing = support::runChild({"/bin/ls", "-1", "/proc/self/fd"}).output;
    return std::count(listing.begin(), listing.end(), '\n');
  };
  const auto inherited = countInherited();
  for (const std::string& url : {std::string("http://silent.test"), server->url()}) {
    auto code = std::async(std::launch::async, [&] { return caller.get(url).code; });
    url == server->url() ? server->waitForRequests(1) : support::waitForLookup();
    EXPECT_EQ(countInherited(), inherited) << url;
    caller.cancelSource->cancel();
    EXPECT_EQ(code.get(), CMRestCode::Cancelled);
    support::releaseLookups();
  }
  EXPECT_EQ(caller.get(server->url()).body(), "1");
  EXPECT_EQ(countInherited(), inherited);
}

// There were three more for each of them.
TEST_F(Host, GivesOneDescriptorToAnIdlePool) {
  constexpr int kPools = 50;
  server.emplace(std::vector(kPools, RawConnection{{okReply("1")}, RawEnd::Silent}));
  const auto before = countEntries("/proc/self/fd");
  std::list<Caller> callers(kPools);
  for (Caller& own : callers) EXPECT_EQ(own.get(server->url()).body(), "1");

  EXPECT_LE(countEntries("/proc/self/fd") - before, 2 * kPools + kHandful);  // the server has as many
}

// Each had a thread for as long as the name server was silent.
TEST_F(Host, KeepsAHandfulOfThreadsForLookupsThatAreGivenUp) {
  server.emplace(std::vector<RawConnection>{{{okReply("1")}}});
  const auto before = countEntries("/proc/self/task");
  caller.settings.connectTimeoutMs = 20;
  for (int i = 0; i < 50; ++i) {
    EXPECT_NE(caller.get("http://" + std::to_string(i) + ".silent.test").code, CMRestCode::Success);
  }
  EXPECT_LE(countEntries("/proc/self/task") - before, kHandful);
  support::releaseLookups();

  caller.settings.connectTimeoutMs = 0;
  EXPECT_EQ(caller.get(at("named.test", server->port())).body(), "1");
}

// Nobody reached a server of this machine while the name of the proxy, which it bypasses, was being looked up.
TEST_F(Host, ReachesWhatIsHereWhateverTheProxysNameIs) {
  server.emplace(std::vector(3, RawConnection{{support::ok("\r\nwhole")}}));
  caller.settings.proxyURL = "https://silent.test:1";
  caller.settings.connectTimeoutMs = kWait.count() * TEST_TIME_FACTOR;
  caller.settings.proxyBypass = "localhost,127.0.0.1,named.test";

  for (const char* const name : {"127.0.0.1", "localhost"}) {
    EXPECT_EQ(caller.get(at(name, server->port())).body(), "whole") << name;
  }
  caller.settings.proxyURL = "https://[::1]:1";
  EXPECT_EQ(caller.get(at("named.test", server->port())).body(), "whole");
}

// One that came while an operation ended was once meant for the next.
TEST(CancelScope, IsLeftByACancelWithItsOperation) {
  const auto source = std::make_shared<QXCancelSource>();
  const std::unique_ptr<ICSHTTPPoolCenter> pool(QX::createHTTPPoolCenter(source));
  const standin::Server good;
  Caller own;
  own.session.poolCenter = pool.get();
  std::atomic<int> round = 0;
  std::thread canceller([&] {
    for (int seen = 0; seen < 300; seen = round) source->cancel();
  });

  for (; round < 300; ++round) static_cast<void>(own.get(good.url()));
  canceller.join();

  EXPECT_EQ(own.get(good.url()).code, 404);
}

// It read as a name that was not found.
TEST_F(Host, HearsThatALookupHadNoThread) {
  pthread_attr_t before;
  pthread_attr_t huge;
  ::pthread_getattr_default_np(&before);
  ::pthread_attr_init(&huge);
  ::pthread_attr_setstacksize(&huge, std::numeric_limits<std::size_t>::max() / 4);
  ::pthread_setattr_default_np(&huge);

  EXPECT_EQ(caller.get("http://named.test:9").code, CMRestCode::LookupUnavailable);

  ::pthread_setattr_default_np(&before);
}

// The sanitizers' own locks aren't safe across a fork from among threads.
constexpr int kAskingThreads = TEST_TIME_FACTOR > 1 ? 0 : 8;

// It waited for a lock that a thread of the parent had held.
TEST_F(Host, HasChildrenThatMakeCallsOfTheirOwn) {
  server.emplace(std::vector(1000, RawConnection{std::vector(200, okReply("1"))}));
  std::atomic<bool> hasEnded = false;
  std::list<std::thread> threads(kAskingThreads);
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (Caller own; !hasEnded;) own.get(server->url());
    });
  }
  int status = 0;
  for (int i = 0; i < 100 && status == 0; ++i) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(20);
      ::_exit(Caller().get(server->url()).code == CMRestCode::Success ? 0 : 1);
    }
    EXPECT_EQ(::waitpid(child, &status, 0), child);
  }
  hasEnded = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(status, 0);
}

}  // namespace
