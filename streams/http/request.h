#pragma once
/// \file request.h
/// Requests to a page server: the head of HTTP/1.x, of which method and path are kept.

#include <string>
#include <string_view>

namespace gnx {

struct HttpRequest {
  std::string method, path;  ///< without what stands behind '?'
};

/// What is known of a request so far.
enum class HttpProgress { waiting, complete, damaged };

/// \param head  all bytes so far
HttpProgress parseHttpRequest(std::string_view head, HttpRequest& request);

struct HttpAnswer {
  int status = 200;
  std::string type = "text/plain; charset=utf-8", body;
};
/// The bytes of an answer; without its body for the method HEAD.
std::string httpText(const HttpAnswer& answer, bool withBody);
/// The head of an answer that is followed by events without end.
std::string httpEventsHead();

}  // namespace gnx
