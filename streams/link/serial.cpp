// Serial ports: eight bits, no parity, one stop bit, nothing interpreted.

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "gnx/error.h"
#include "link/connection.h"

namespace gnx {

namespace {

constexpr int kUsualSpeed = 115200;

const std::map<int, speed_t>& speeds() {
  static const std::map<int, speed_t> all = {
      {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},   {57600, B57600},
      {115200, B115200}, {230400, B230400}, {460800, B460800}, {921600, B921600}, {1000000, B1000000}};
  return all;
}

speed_t speedOf(const StreamUrl& url) {
  const auto found = speeds().find(static_cast<int>(url.number("speed").value_or(kUsualSpeed)));
  if (found != speeds().end()) return found->second;
  std::string known;
  for (const auto& [speed, code] : speeds()) known += (known.empty() ? "" : ", ") + std::to_string(speed);
  throw UsageError("'" + url.text + "' has a speed that no port has; take one of " + known);
}

}  // namespace

std::unique_ptr<Connection> openSerial(const StreamUrl& url) {
  const speed_t speed = speedOf(url);
  const int port = open(url.path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (port < 0) throw ConnectionError(std::string("cannot be opened: ") + std::strerror(errno));
  auto connection = std::make_unique<DescriptorConnection>(port, true);
  termios settings{};
  if (tcgetattr(port, &settings) != 0) throw ConnectionError("is no serial port");
  cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL | CREAD;
  settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  if (cfsetspeed(&settings, speed) != 0 || tcsetattr(port, TCSANOW, &settings) != 0)
    throw ConnectionError(std::string("does not take its settings: ") + std::strerror(errno));
  tcflush(port, TCIOFLUSH);
  return connection;
}

}  // namespace gnx
