#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <stdexcept>

#include "JSON/Contender.hpp"

namespace bench {
namespace {

using Value = rapidjson::Value;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void require(bool fits) {
  if (!fits) throw std::runtime_error("RapidJSON: another type was expected");
}

const Value& member(const Value& object, const char* key) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) throw std::runtime_error(std::string("RapidJSON: there is no ") + key);
  return found->value;
}

void read(const Value& value, std::string& text) {
  require(value.IsString());
  text.assign(value.GetString(), value.GetStringLength());
}

void read(const Value& value, bool& flag) {
  require(value.IsBool());
  flag = value.GetBool();
}

void read(const Value& value, std::int32_t& number) {
  require(value.IsInt());
  number = value.GetInt();
}

void read(const Value& value, std::int64_t& number) {
  require(value.IsInt64());
  number = value.GetInt64();
}

void read(const Value& value, double& number) {
  require(value.IsNumber());
  number = value.GetDouble();
}

void read(const Value& value, Owner& owner);
void read(const Value& value, Record& record);

template <class T>
void read(const Value& value, std::vector<T>& elements) {
  require(value.IsArray());
  elements.reserve(value.Size());
  for (const Value& element : value.GetArray()) read(element, elements.emplace_back());
}

void read(const Value& value, Owner& owner) {
  require(value.IsObject());
  read(member(value, "id"), owner.id);
  read(member(value, "login"), owner.login);
  read(member(value, "kind"), owner.kind);
  read(member(value, "verified"), owner.verified);
  read(member(value, "followers"), owner.followers);
}

void read(const Value& value, Record& record) {
  require(value.IsObject());
  read(member(value, "id"), record.id);
  read(member(value, "name"), record.name);
  read(member(value, "description"), record.description);
  read(member(value, "owner"), record.owner);
  read(member(value, "archived"), record.archived);
  read(member(value, "score"), record.score);
  read(member(value, "stars"), record.stars);
  read(member(value, "tags"), record.tags);
  read(member(value, "samples"), record.samples);
  read(member(value, "createdAt"), record.createdAt);
  const auto homepage = value.FindMember("homepage");
  if (homepage != value.MemberEnd() && !homepage->value.IsNull()) read(homepage->value, record.homepage.emplace());
}

Records decode(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) throw std::runtime_error(rapidjson::GetParseError_En(document.GetParseError()));
  Records records;
  read(document, records);
  return records;
}

void write(Writer& writer, const std::string& text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}
void write(Writer& writer, bool flag) { writer.Bool(flag); }
void write(Writer& writer, std::int32_t number) { writer.Int(number); }
void write(Writer& writer, std::int64_t number) { writer.Int64(number); }
void write(Writer& writer, double number) { writer.Double(number); }

void write(Writer& writer, const Owner& owner);
void write(Writer& writer, const Record& record);

template <class T>
void write(Writer& writer, const std::vector<T>& elements) {
  writer.StartArray();
  for (const T& element : elements) write(writer, element);
  writer.EndArray();
}

template <std::size_t size, class T>
void writeMember(Writer& writer, const char (&key)[size], const T& value) {
  writer.Key(key, size - 1);
  write(writer, value);
}

void write(Writer& writer, const Owner& owner) {
  writer.StartObject();
  writeMember(writer, "id", owner.id);
  writeMember(writer, "login", owner.login);
  writeMember(writer, "kind", owner.kind);
  writeMember(writer, "verified", owner.verified);
  writeMember(writer, "followers", owner.followers);
  writer.EndObject();
}

void write(Writer& writer, const Record& record) {
  writer.StartObject();
  writeMember(writer, "id", record.id);
  writeMember(writer, "name", record.name);
  writeMember(writer, "description", record.description);
  writeMember(writer, "owner", record.owner);
  writeMember(writer, "archived", record.archived);
  writeMember(writer, "score", record.score);
  writeMember(writer, "stars", record.stars);
  writeMember(writer, "tags", record.tags);
  writeMember(writer, "samples", record.samples);
  writeMember(writer, "createdAt", record.createdAt);
  if (record.homepage) writeMember(writer, "homepage", *record.homepage);
  writer.EndObject();
}

void encode(const Records& records, const Contender::Show& show) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  write(writer, records);
  show({buffer.GetString(), buffer.GetSize()});
}

}  // namespace

Contender rapidContender() {
  return {.name = "RapidJSON",
          .prepareDecoding = [](const std::string& text) { return [text] { return decode(text); }; },
          .encode = encode,
          .goalInOrder = 1.5,
          .goalInAnyOrder = 1.5};
}

}  // namespace bench
