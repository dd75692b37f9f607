// Requests to casters and their answers.

#include "ntrip/protocol.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace gnx {

namespace {

constexpr std::size_t kLongestHead = 16384, kLongestSizeLine = 64, kLongestChunk = std::size_t{1} << 24;

std::string lower(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::string base64(const std::string& text) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t i = 0; i < text.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k)
      bits = bits << 8 | (i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k)
      out += i + k > text.size() ? '=' : kLetters[bits >> (18 - 6 * k) & 63U];
  }
  return out;
}

/// One line for a message, what cannot be printed left out.
std::string printable(std::string_view text) {
  std::string line;
  for (const char c : text.substr(0, 100))
    if (std::isprint(static_cast<unsigned char>(c)) != 0) line += c;
  return line;
}

}  // namespace

std::string ntripRequest(const StreamUrl& url, const std::optional<Login>& login, int version,
                         const std::string& gga) {
  std::string text = "GET /" + url.path + (version == 1 ? " HTTP/1.0\r\n" : " HTTP/1.1\r\n");
  if (version != 1)
    text += "Host: " + url.host + ":" + std::to_string(url.port) + "\r\nNtrip-Version: Ntrip/2.0\r\n";
  text += "User-Agent: NTRIP gnx/" GNX_VERSION "\r\n";
  if (login) text += "Authorization: Basic " + base64(login->user + ":" + login->password) + "\r\n";
  if (version != 1 && !gga.empty()) text += "Ntrip-GGA: " + gga + "\r\n";
  return text + (version == 1 ? "Accept: */*\r\n" : "") + "Connection: close\r\n\r\n";
}

/// Behind the head: an empty line; casters of version 1 may begin the stream right behind "ICY 200 OK".
std::size_t NtripReader::endOfHead() const {
  if (m_head.starts_with("ICY 200")) {
    const auto line = m_head.find("\r\n");
    if (line == std::string::npos || m_head.size() < line + 4) return std::string::npos;
    const bool headers = std::isalpha(static_cast<unsigned char>(m_head[line + 2])) != 0;
    if (!headers) return m_head.compare(line, 4, "\r\n\r\n") == 0 ? line + 4 : line + 2;
  }
  const auto end = m_head.find("\r\n\r\n");
  if (end != std::string::npos) return end + 4;
  const auto bare = m_head.find("\n\n");
  return bare == std::string::npos ? bare : bare + 2;
}

NtripAnswer NtripReader::take(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& content) {
  if (m_answer != NtripAnswer::waiting) {
    unchunk(bytes, content);
    return m_answer;
  }
  m_head.append(bytes.begin(), bytes.end());
  const std::size_t end = endOfHead();
  if (end == std::string::npos) {
    const auto start = std::span(reinterpret_cast<const std::uint8_t*>(m_head.data()), m_head.size());
    const std::string text = m_head.starts_with("SOURCETABLE") ? "" : textInsteadOfStream(start);
    if (!text.empty()) refuse(text);
    else if (m_head.size() > kLongestHead) refuse("answers with what is no head of NTRIP");
    return m_answer;
  }
  const std::string behind = m_head.substr(end);
  judge(m_head.substr(0, end));
  m_head.clear();
  unchunk({reinterpret_cast<const std::uint8_t*>(behind.data()), behind.size()}, content);
  return m_answer;
}

void NtripReader::judge(const std::string& head) {
  const std::string headers = lower(head);
  if (headers.find("transfer-encoding: chunked") != std::string::npos) m_chunk = Chunk::size;
  judgeStatus(head.substr(0, head.find_first_of("\r\n")), headers);
}

void NtripReader::judgeStatus(const std::string& line, const std::string& lowerHead) {
  const auto blank = line.find(' ');
  const std::string code = blank == std::string::npos ? "" : line.substr(blank + 1, 3);
  if (line.starts_with("SOURCETABLE 200")) {
    m_answer = NtripAnswer::table;
  } else if (code == "401" || code == "403") {
    refuse("wants a user and a password, or others; name a file of them with --credentials");
  } else if (code == "404") {
    refuse("has no such mountpoint");
  } else if (!line.starts_with("HTTP/") && !line.starts_with("ICY ")) {
    refuse("answers with '" + printable(line) + "'");
  } else if (code != "200") {
    refuse("refuses with '" + printable(line) + "'");
  } else if (lowerHead.find("content-type: text/html") != std::string::npos) {
    refuse("sends a web page instead of a stream; check host, port and mountpoint");
  } else {
    const bool table = lowerHead.find("gnss/sourcetable") != std::string::npos ||
                       lowerHead.find("content-type: text/plain") != std::string::npos;
    m_answer = table ? NtripAnswer::table : NtripAnswer::stream;
  }
}

void NtripReader::refuse(const std::string& why) {
  m_answer = NtripAnswer::refused;
  m_refusal = why;
}

void NtripReader::takeSize(std::uint8_t byte) {
  if (byte != '\n') {
    if (m_sizeLine.size() >= kLongestSizeLine) m_chunk = Chunk::damaged;
    else m_sizeLine += static_cast<char>(byte);
    return;
  }
  std::size_t size = 0, digits = 0;
  for (const char c : m_sizeLine) {
    if (std::isxdigit(static_cast<unsigned char>(c)) == 0) break;
    const int digit = std::isdigit(static_cast<unsigned char>(c)) != 0 ? c - '0' : (c | 0x20) - 'a' + 10;
    size = size * 16 + static_cast<std::size_t>(digit);
    if (++digits > 7) break;
  }
  m_sizeLine.clear();
  m_left = size;
  if (digits == 0 || size > kLongestChunk) m_chunk = Chunk::damaged;
  else m_chunk = size == 0 ? Chunk::ended : Chunk::data;
}

void NtripReader::unchunk(std::span<const std::uint8_t> bytes, std::vector<std::uint8_t>& content) {
  if (m_chunk == Chunk::none) content.insert(content.end(), bytes.begin(), bytes.end());
  while (!bytes.empty() && m_chunk != Chunk::none && m_chunk != Chunk::ended) {
    if (m_chunk == Chunk::data) {
      const auto part = bytes.first(std::min(bytes.size(), m_left));
      content.insert(content.end(), part.begin(), part.end());
      bytes = bytes.subspan(part.size());
      m_left -= part.size();
      if (m_left == 0) m_chunk = Chunk::behindData;
      continue;
    }
    const std::uint8_t byte = bytes.front();
    bytes = bytes.subspan(1);
    if (m_chunk == Chunk::size) takeSize(byte);
    else if (byte == '\n') m_chunk = Chunk::size;
    else if (byte != '\r') m_chunk = Chunk::damaged;
    if (m_chunk == Chunk::damaged) return refuse("sends chunks that are damaged");
  }
}

std::vector<Mountpoint> mountpointsOf(const std::string& table) {
  std::vector<Mountpoint> found;
  for (std::size_t at = 0; at < table.size();) {
    const auto end = std::min(table.find('\n', at), table.size());
    std::vector<std::string> cells(1);
    for (const char c : std::string_view(table).substr(at, end - at)) {
      if (c == ';') cells.emplace_back();
      else if (std::isprint(static_cast<unsigned char>(c)) != 0) cells.back() += c;
    }
    at = end + 1;
    constexpr std::size_t kCells = 9;
    if (cells[0] == "STR" && cells.size() >= kCells && !cells[1].empty())
      found.push_back({cells[1], cells[2], cells[3], cells[6], cells[7], cells[8]});
  }
  return found;
}

std::string textInsteadOfStream(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kLookedAt = 64;
  std::string start(bytes.begin(),
                    bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), kLookedAt)));
  start = lower(start.substr(std::min(start.find_first_not_of(" \t\r\n\xEF\xBB\xBF"), start.size())));
  for (const char* mark : {"<!doctype", "<html", "<?xml", "<head"})
    if (start.starts_with(mark))
      return "sends a web page instead of a stream; check host, port and mountpoint";
  if (start.starts_with("sourcetable ")) return "sends the table of its streams; name a mountpoint";
  return "";
}

}  // namespace gnx
