#include <nlohmann/json.hpp>

#include "JSON/Contender.hpp"

namespace bench {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Owner, id, login, kind, verified, followers)

void from_json(const nlohmann::json& json, Record& record) {
  json.at("id").get_to(record.id);
  json.at("name").get_to(record.name);
  json.at("description").get_to(record.description);
  json.at("owner").get_to(record.owner);
  json.at("archived").get_to(record.archived);
  json.at("score").get_to(record.score);
  json.at("stars").get_to(record.stars);
  json.at("tags").get_to(record.tags);
  json.at("samples").get_to(record.samples);
  json.at("createdAt").get_to(record.createdAt);
  const auto homepage = json.find("homepage");
  if (homepage != json.end() && !homepage->is_null()) record.homepage = homepage->get<std::string>();
}

void to_json(nlohmann::json& json, const Record& record) {
  json = {{"id", record.id},
          {"name", record.name},
          {"description", record.description},
          {"owner", record.owner},
          {"archived", record.archived},
          {"score", record.score},
          {"stars", record.stars},
          {"tags", record.tags},
          {"samples", record.samples},
          {"createdAt", record.createdAt}};
  if (record.homepage) json["homepage"] = *record.homepage;
}

Contender nlohmannContender() {
  return {.name = "nlohmann",
          .prepareDecoding =
              [](const std::string& text) { return [text] { return nlohmann::json::parse(text).get<Records>(); }; },
          .encode = [](const Records& records, const Contender::Show& show) { show(nlohmann::json(records).dump()); },
          .goalInOrder = 5,
          .goalInAnyOrder = 5};
}

}  // namespace bench
