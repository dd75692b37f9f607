#pragma once
/// \file error.h
/// What this library throws: one type, with the place, the cause and what helps.

#include <stdexcept>
#include <string>

namespace gnx {

/// Everything that goes wrong in this library. what() is the whole as one sentence or two:
/// "file:line: field: cause; remedy".
class Error : public std::runtime_error {
 public:
  const std::string& file() const { return m_file; }      ///< "" when no file is concerned
  long line() const { return m_line; }                    ///< from 1, 0 for the whole of a file
  const std::string& field() const { return m_field; }    ///< of the line, "" when it is not known
  const std::string& cause() const { return m_cause; }    ///< what is wrong
  const std::string& remedy() const { return m_remedy; }  ///< what to do; "" when the cause says it

 protected:
  /// \param what  the cause, and behind "; " the remedy
  explicit Error(const std::string& what) : std::runtime_error(what) { split(what); }
  Error(const std::string& file, long line, const std::string& field, const std::string& what)
      : std::runtime_error(file + ":" + (line > 0 ? std::to_string(line) + ":" : "") + " " +
                           (field.empty() ? "" : field + ": ") + what),
        m_file(file),
        m_field(field),
        m_line(line) {
    split(what);
  }

 private:
  void split(const std::string& what) {
    const auto end = what.find("; ");
    m_cause = what.substr(0, end);
    if (end != std::string::npos) m_remedy = what.substr(end + 2);
  }

  std::string m_file, m_field, m_cause, m_remedy;
  long m_line = 0;
};

/// A file is absent, damaged or of the wrong kind, or cannot be written.
class InputError : public Error {
 public:
  InputError(const std::string& file, long line, const std::string& what) : Error(file, line, "", what) {}
  InputError(const std::string& file, long line, const std::string& field, const std::string& what)
      : Error(file, line, field, what) {}
};

/// Choices that do not fit together, calls in the wrong order.
class UsageError : public Error {
 public:
  explicit UsageError(const std::string& what) : Error(what) {}
};

/// The engine ended or could not run; the message holds its last words.
class EngineError : public Error {
 public:
  explicit EngineError(const std::string& what) : Error(what) {}
};

}  // namespace gnx
