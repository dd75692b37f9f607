// Reads and writes whole JSON documents, and takes remarks off their values.

#include "text/json_file.h"

#include <fstream>

#include "gnx/error.h"
#include "text/fields.h"
#include "text/text_reader.h"

namespace gnx {

Json::Value readJson(const std::filesystem::path& file) {
  std::ifstream in(file);
  if (!in) throw InputError(file.string(), 0, "cannot be opened; check the name and the permissions");
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  Json::Value root;
  std::string errors;
  try {
    if (Json::parseFromStream(builder, in, &root, &errors)) return root;
  } catch (const Json::Exception& e) {  // brackets a thousand deep
    errors = e.what();
  }
  errors.erase(errors.find_last_not_of(" \n") + 1);
  throw InputError(file.string(), 0,
                   "is no JSON: " + errors + "; correct it there, often a comma or a bracket");
}

Json::Value readJsonFile(const std::filesystem::path& file) {
  if (!std::filesystem::exists(file))
    throw InputError(file.string(), 0, "does not exist; 'gnx init' writes a deployment, 'gnx replay' a run");
  Json::Value root = readJson(file);
  if (!root.isObject()) throw InputError(file.string(), 0, "is not a JSON object {...}");
  return root;
}

std::string plainValue(const Json::Value& value) {
  if (!value.isString()) return "";
  const std::string text = value.asString();
  return std::string(trim(std::string_view(text).substr(0, text.find_first_of("!#"))));
}

void writeJsonFile(const std::filesystem::path& file, const Json::Value& root) {
  Json::StreamWriterBuilder builder;
  builder["precision"] = 17;
  writeTextFile(file, Json::writeString(builder, root) + "\n");
}

Json::Value toJson(const std::array<double, 3>& v) {
  Json::Value list(Json::arrayValue);
  for (const double x : v) list.append(x);
  return list;
}

std::array<double, 3> toVector(const Json::Value& list) {
  if (!list.isArray() || list.size() != 3) throw Json::RuntimeError("three numbers expected");
  return {list[0].asDouble(), list[1].asDouble(), list[2].asDouble()};
}

}  // namespace gnx
