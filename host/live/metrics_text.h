#pragma once
/// \file metrics_text.h
/// The text form of Prometheus, version 0.0.4.

#include <string>
#include <utility>

#include "text/printed.h"

namespace gnx {

/// Metrics, one after the other: begin() a metric, then its values.
class MetricsText {
 public:
  void begin(const char* name, const char* type, const char* help) {
    m_name = name;
    m_text += printed("# HELP %s %s\n# TYPE %s %s\n", name, help, name, type);
  }
  void value(double value, const std::string& label = "", const std::string& of = "") {
    m_text += m_name;
    if (!label.empty()) m_text += "{" + label + "=\"" + of + "\"}";
    m_text += printed(" %.10g\n", value);
  }
  void one(const char* name, const char* type, const char* help, double v) {
    begin(name, type, help);
    value(v);
  }
  std::string take() { return std::move(m_text); }

 private:
  std::string m_name, m_text;
};

}  // namespace gnx
