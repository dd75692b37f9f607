// Reads the heads of requests and writes answers.

#include "http/request.h"

#include <algorithm>

namespace gnx {

namespace {

constexpr std::size_t kLongestHead = 8192, kLongestPath = 1024;

const char* reasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 400:
      return "Bad Request";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    default:
      return "Service Unavailable";
  }
}

/// What every answer says. A page takes nothing from elsewhere, runs no script that was not served with it,
/// and nobody shows it inside another one.
std::string headOf(int status, const std::string& type) {
  return "HTTP/1.1 " + std::to_string(status) + " " + reasonOf(status) + "\r\nContent-Type: " + type +
         "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer"
         "\r\nContent-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
         "connect-src 'self'; img-src data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"
         "\r\nConnection: close\r\n";
}

}  // namespace

HttpProgress parseHttpRequest(std::string_view head, HttpRequest& request) {
  if (head.size() > kLongestHead) return HttpProgress::damaged;
  if (head.find("\r\n\r\n") == std::string_view::npos) return HttpProgress::waiting;
  const std::string_view line = head.substr(0, head.find("\r\n"));
  const auto first = line.find(' '), last = line.rfind(' ');
  if (first == std::string_view::npos || last == first || !line.substr(last + 1).starts_with("HTTP/1."))
    return HttpProgress::damaged;
  const std::string_view method = line.substr(0, first);
  std::string_view path = line.substr(first + 1, last - first - 1);
  path = path.substr(0, path.find('?'));
  const bool letters = std::ranges::all_of(method, [](char c) { return c >= 'A' && c <= 'Z'; });
  const bool sound = std::ranges::all_of(path, [](char c) { return c > ' ' && c < '\x7f'; });
  if (method.empty() || !letters || !sound || !path.starts_with('/') || path.size() > kLongestPath)
    return HttpProgress::damaged;
  request = {std::string(method), std::string(path)};
  return HttpProgress::complete;
}

std::string httpText(const HttpAnswer& answer, bool withBody) {
  return headOf(answer.status, answer.type) + "Content-Length: " + std::to_string(answer.body.size()) +
         "\r\n\r\n" + (withBody ? answer.body : "");
}

std::string httpEventsHead() { return headOf(200, "text/event-stream") + "\r\n"; }

}  // namespace gnx
