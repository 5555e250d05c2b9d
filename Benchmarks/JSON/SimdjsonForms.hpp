// Included by files that chose how to compile simdjson, so everything here is their own.
#pragma once

#include <simdjson.h>

#include <memory>
#include <stdexcept>
#include <utility>

#include "JSON/Contender.hpp"

namespace bench {
namespace {

namespace ondemand = simdjson::ondemand;

void read(ondemand::value value, std::string& text) { text = value.get_string().value(); }
void read(ondemand::value value, bool& flag) { flag = value.get_bool(); }
void read(ondemand::value value, std::int64_t& number) { number = value.get_int64(); }
void read(ondemand::value value, double& number) { number = value.get_double(); }

void read(ondemand::value value, std::int32_t& number) {
  const std::int64_t wide = value.get_int64();
  if (!std::in_range<std::int32_t>(wide)) throw std::runtime_error("simdjson: an integer is too large");
  number = static_cast<std::int32_t>(wide);
}

void read(ondemand::value value, std::optional<std::string>& text) {
  if (!value.is_null()) read(value, text.emplace());
}

template <class T>
void read(ondemand::value value, std::vector<T>& elements) {
  for (ondemand::value element : value.get_array()) read(element, elements.emplace_back());
}

/// Looks for each key after the one before.
struct InOrder {
  static void read(ondemand::object object, Owner& owner) {
    bench::read(object.find_field("id").value(), owner.id);
    bench::read(object.find_field("login").value(), owner.login);
    bench::read(object.find_field("kind").value(), owner.kind);
    bench::read(object.find_field("verified").value(), owner.verified);
    bench::read(object.find_field("followers").value(), owner.followers);
  }

  static void read(ondemand::object object, Record& record) {
    bench::read(object.find_field("id").value(), record.id);
    bench::read(object.find_field("name").value(), record.name);
    bench::read(object.find_field("description").value(), record.description);
    read(object.find_field("owner").get_object().value(), record.owner);
    bench::read(object.find_field("archived").value(), record.archived);
    bench::read(object.find_field("score").value(), record.score);
    bench::read(object.find_field("stars").value(), record.stars);
    bench::read(object.find_field("tags").value(), record.tags);
    bench::read(object.find_field("samples").value(), record.samples);
    bench::read(object.find_field("createdAt").value(), record.createdAt);
    auto homepage = object.find_field("homepage");
    if (homepage.error() != simdjson::NO_SUCH_FIELD) bench::read(homepage.value(), record.homepage);
  }
};

/// Takes the keys as they come; `object[key]` is slower by half when they are not in the order of the look-ups.
struct AnyOrder {
  static void read(ondemand::object object, Owner& owner) {
    int found = 0;
    for (ondemand::field field : object) {
      const ondemand::raw_json_string key = field.key();
      found += read(key, field.value(), owner);
    }
    if (found != 5) throw std::runtime_error("simdjson: an owner is not complete");
  }

  static void read(ondemand::object object, Record& record) {
    int found = 0;
    for (ondemand::field field : object) {
      const ondemand::raw_json_string key = field.key();
      found += read(key, field.value(), record);
    }
    if (found != 10) throw std::runtime_error("simdjson: a record is not complete");
  }

 private:
  static bool read(ondemand::raw_json_string key, ondemand::value& value, Owner& owner) {
    if (key == "id") return bench::read(value, owner.id), true;
    if (key == "login") return bench::read(value, owner.login), true;
    if (key == "kind") return bench::read(value, owner.kind), true;
    if (key == "verified") return bench::read(value, owner.verified), true;
    if (key == "followers") return bench::read(value, owner.followers), true;
    return false;
  }

  static bool read(ondemand::raw_json_string key, ondemand::value& value, Record& record) {
    if (key == "id") return bench::read(value, record.id), true;
    if (key == "name") return bench::read(value, record.name), true;
    if (key == "description") return bench::read(value, record.description), true;
    if (key == "owner") return read(value.get_object().value(), record.owner), true;
    if (key == "archived") return bench::read(value, record.archived), true;
    if (key == "score") return bench::read(value, record.score), true;
    if (key == "stars") return bench::read(value, record.stars), true;
    if (key == "tags") return bench::read(value, record.tags), true;
    if (key == "samples") return bench::read(value, record.samples), true;
    if (key == "createdAt") return bench::read(value, record.createdAt), true;
    if (key == "homepage") bench::read(value, record.homepage);
    return false;
  }
};

/// The parser keeps its buffers from one decode to the next; the first one makes them.
template <class Form>
Contender::Decode prepareSimdjson(const std::string& text) {
  const auto parser = std::make_shared<ondemand::parser>();
  const auto padded = std::make_shared<simdjson::padded_string>(text);
  return [parser, padded] {
    ondemand::document document = parser->iterate(*padded);
    Records records;
    for (ondemand::object object : document.get_array()) Form::read(object, records.emplace_back());
    return records;
  };
}

}  // namespace
}  // namespace bench
