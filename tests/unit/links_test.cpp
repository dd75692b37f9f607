// Ways on which bytes come: a caster behind TLS with an authority of its own, a serial port.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "link/connection.h"
#include "link/listening_socket.h"
#include "support/files.h"

namespace gnx::test {
namespace {

using testing::HasSubstr;

const std::atomic<bool> kGoOn{false};

/// What comes within three seconds, up to a number of bytes.
std::string received(Connection& connection, std::size_t size) {
  std::string text;
  std::array<std::uint8_t, 256> piece{};
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  while (text.size() < size && std::chrono::steady_clock::now() < end) {
    const std::size_t n = connection.read(piece, 100);
    text.append(piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(n));
  }
  return text;
}

std::unique_ptr<Connection> open(const std::string& url) {
  static const Credentials none;
  return openConnection(parseStreamUrl(url), {none, kGoOn});
}

/// Why a connection is not made; "" when it is.
std::string refusal(const std::string& url) {
  try {
    open(url);
    return "";
  } catch (const ConnectionError& e) {
    return e.what();
  }
}

/// A caster of the first version on localhost whose certificate an authority of the test has signed.
class SecureCaster {
 public:
  SecureCaster() {
    const std::string make =
        "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -addext "
        "subjectAltName=DNS:localhost -keyout " +
        path("key.pem") + " -out " + path("ca.pem") + " 2>/dev/null";
    m_made = std::system(make.c_str()) == 0;
    m_process = fork();
    if (m_process != 0) return;
    const std::string serve =
        "(for i in 1 2 3; do printf 'ICY 200 OK\\r\\n\\r\\nbytes'; sleep 3; done) | "
        "exec openssl s_server -quiet -accept " +
        std::to_string(m_port) + " -cert " + path("ca.pem") + " -key " + path("key.pem");
    setpgid(0, 0);
    execl("/bin/sh", "sh", "-c", (serve + " >/dev/null 2>&1").c_str(), nullptr);
    _exit(127);
  }
  ~SecureCaster() {
    kill(-m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
  }
  SecureCaster(const SecureCaster&) = delete;
  SecureCaster& operator=(const SecureCaster&) = delete;
  bool made() const { return m_made; }
  std::string path(const std::string& name) const { return (m_directory.path() / name).string(); }
  std::string url(const std::string& host, const std::string& more) const {
    return "ntrips://" + host + ":" + std::to_string(m_port) + "/SKY?version=1" + more;
  }

 private:
  const support::TemporaryDirectory m_directory;
  const int m_port = ListeningSocket("127.0.0.1", 0).port();
  bool m_made = false;
  pid_t m_process = 0;
};

TEST(Links, ACasterBehindTlsIsBelievedByItsCertificateAlone) {
  const SecureCaster caster;
  ASSERT_TRUE(caster.made());
  const std::string own = "&ca=" + caster.path("ca.pem");
  std::string why = "not tried";
  std::unique_ptr<Connection> link;
  for (int i = 0; i < 50 && !link; ++i) {
    try {
      link = open(caster.url("localhost", own));
    } catch (const ConnectionError& e) {  // it has not begun to listen
      why = e.what();
      usleep(100000);
    }
  }
  ASSERT_TRUE(link) << why;
  EXPECT_EQ(received(*link, 5), "bytes");
  link.reset();
  EXPECT_THAT(refusal(caster.url("localhost", "")), HasSubstr("certificate"));
  EXPECT_THAT(refusal(caster.url("127.0.0.1", own)), HasSubstr("certificate"));
}

TEST(Links, ASerialPortGivesAndTakesEveryByte) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  const auto link = open(std::string("serial://") + ptsname(terminal) + "?speed=115200");
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  ASSERT_EQ(::write(terminal, all.data(), all.size()), 256);
  EXPECT_EQ(received(*link, all.size()), all);
  link->write(all);
  std::string back(all.size(), '\0');
  std::size_t n = 0;
  while (n < back.size()) {
    const ssize_t got = ::read(terminal, back.data() + n, back.size() - n);
    ASSERT_GT(got, 0);
    n += static_cast<std::size_t>(got);
  }
  EXPECT_EQ(back, all);
  ::close(terminal);
  EXPECT_THAT(refusal("serial:///dev/no-such-port?speed=9600"), HasSubstr("cannot be opened"));
}

}  // namespace
}  // namespace gnx::test
