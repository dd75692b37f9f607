// One row a run, as CSV and JSON; the page is in batch_page.cpp.

#include "batch/batch_summary.h"

#include "batch/batch_page.h"
#include "text/json_file.h"
#include "text/printed.h"
#include "text/text_reader.h"

namespace gnx {

namespace {

namespace fs = std::filesystem;

/// A cell without what would end it.
std::string plain(std::string text) {
  for (char& c : text)
    if (c == ',' || c == '\n' || c == '"') c = c == ',' ? ';' : ' ';
  return text;
}

std::string cellOf(const Json::Value& value) {
  if (value.isNull()) return "";
  if (value.isDouble()) return printed("%.12g", value.asDouble());
  return plain(value.asString());
}

std::string csvOf(const std::vector<BatchRun>& runs, const BatchResult& result) {
  std::string text = "station,day,outcome,status,seconds";
  for (const std::string& column : figureColumns()) text += "," + column;
  text += ",directory,message\n";
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const auto& record = result.records[i];
    text += runs[i].station + "," + formatTime(runs[i].day).substr(0, 10) + "," + outcomeOf(record) + ",";
    text += record ? printed("%d,%.2f", record->status, record->seconds) : ",";
    for (const std::string& column : figureColumns())
      text += "," + (record ? cellOf(record->figures[column]) : "");
    text += "," + plain(runs[i].directory.string()) + "," + (record ? plain(record->message) : "") + "\n";
  }
  return text;
}

Json::Value jsonOf(const std::vector<BatchRun>& runs, const BatchResult& result) {
  const BatchCount count = countOf(result);
  Json::Value root(Json::objectValue);
  root["program"] = std::string("gnx ") + GNX_VERSION;
  root["good"] = static_cast<Json::UInt64>(count.good);
  root["partial"] = static_cast<Json::UInt64>(count.partial);
  root["failed"] = static_cast<Json::UInt64>(count.failed);
  root["not_run"] = static_cast<Json::UInt64>(count.missing);
  root["runs"] = Json::Value(Json::arrayValue);
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const auto& record = result.records[i];
    Json::Value row = record ? record->figures : Json::Value(Json::objectValue);
    row["station"] = runs[i].station;
    row["day"] = formatTime(runs[i].day).substr(0, 10);
    row["outcome"] = outcomeOf(record);
    row["directory"] = runs[i].directory.string();
    if (record) {
      row["status"] = record->status;
      row["seconds"] = record->seconds;
      row["message"] = record->message;
    }
    root["runs"].append(row);
  }
  return root;
}

}  // namespace

BatchCount countOf(const BatchResult& result) {
  BatchCount count;
  for (const auto& record : result.records) {
    if (!record) ++count.missing;
    else if (record->status == 0) ++count.good;
    else ++(record->isDone() ? count.partial : count.failed);
  }
  return count;
}

std::string outcomeOf(const std::optional<BatchRecord>& record) {
  if (!record) return "not run";
  constexpr const char* kWords[] = {"good", "no or partial result", "bad input", "engine failed"};
  if (record->status > 128) return "ended by a signal";
  return record->status >= 0 && record->status < 4 ? kWords[record->status] : "failed";
}

void writeBatchSummary(const fs::path& directory, const std::vector<BatchRun>& runs,
                       const BatchResult& result) {
  writeTextFile(directory / "batch.csv", csvOf(runs, result));
  writeJsonFile(directory / "batch.json", jsonOf(runs, result));
  writeTextFile(directory / "batch.html", batchPage(directory, runs, result));
}

}  // namespace gnx
