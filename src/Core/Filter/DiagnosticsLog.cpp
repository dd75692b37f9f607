// Lines of the diagnostics: one format a kind of line.

#include "Core/Filter/DiagnosticsLog.h"

#include "Common/Logtrace.h"

namespace tarvio {

void DiagnosticsLines::m_flush() {
  static constexpr char kFile[] = "diagnostics.log";
  if (m_text.empty()) return;
  if (!Logtrace::s_defaultlogger.m_lexist(kFile)) Logtrace::s_defaultlogger.m_openLog(kFile);
  Logtrace::s_defaultlogger.m_wtText(("@" + std::string(kFile) + " " + m_text).c_str());
  m_text.clear();
}

}  // namespace tarvio
