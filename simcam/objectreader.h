// Reads the JSON objects of a model file key by key. Every refusal is a ModelError with source, key, reason and remedy.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simcam/model.h"

namespace simcam {

// One JSON object of a model. It remembers which keys were read; Finish() refuses the rest.
class ObjectReader {
 public:
  ObjectReader(const nlohmann::json& json, std::string source, std::string path)
      : m_json(json), m_source(std::move(source)), m_path(std::move(path)) {
    if (!m_json.is_object()) {
      throw ModelError(m_source, m_path, "not an object", "write {...}");
    }
  }

  bool Has(const char* key) const { return m_json.contains(key); }

  std::string Text(const char* key) {
    const Json& value = Required(key, &Json::is_string, "a text");
    const auto& text = value.get_ref<const std::string&>();
    const bool isPlain = std::none_of(text.begin(), text.end(),
                                      [](char c) { return (static_cast<unsigned char>(c) < 0x20U) || c == 0x7F; });
    if (text.empty() || text.size() > kMaxTextLength || !isPlain) {
      throw Error(key, "empty, longer than 256 bytes or with control characters", "give a line of text");
    }
    return text;
  }

  std::string OneOf(const char* key, std::initializer_list<const char*> allowed) {
    std::string text = Text(key);
    if (std::find(allowed.begin(), allowed.end(), text) == allowed.end()) {
      std::string list;
      for (const char* const choice : allowed) {
        list += (list.empty() ? "" : ", ") + std::string(choice);
      }
      throw Error(key, "\"" + text + "\" is not known", "use one of: " + list);
    }
    return text;
  }

  bool Boolean(const char* key) { return Required(key, &Json::is_boolean, "true or false").get<bool>(); }

  int Integer(const char* key, int min, int max) {
    const Json& value = Required(key, &Json::is_number_integer, "a whole number");
    const bool isHuge = value.is_number_unsigned() && value.get<std::uint64_t>() > kMaxWhole;
    const std::int64_t number = isHuge ? kMaxWhole : value.get<std::int64_t>();
    if (number < min || number > max) {
      throw Error(key, "out of range", "use " + std::to_string(min) + " to " + std::to_string(max));
    }
    return static_cast<int>(number);
  }

  double Number(const char* key, double min, double max) {
    const double number = Required(key, &Json::is_number, "a number").get<double>();
    if (!(number >= min && number <= max)) {
      throw Error(key, "out of range", "use " + Json(min).dump() + " to " + Json(max).dump());
    }
    return number;
  }

  ObjectReader Object(const char* key) {
    return ObjectReader(Required(key, &Json::is_object, "an object"), m_source, PathOf(key));
  }

  // Reads each item of a list of objects with `read`.
  template <typename Item>
  std::vector<Item> List(const char* key, Item (*read)(ObjectReader&)) {
    std::vector<Item> items;
    for (const auto& [item, path] : Items(key)) {
      ObjectReader reader(*item, m_source, path);
      items.push_back(read(reader));
      reader.Finish();
    }
    return items;
  }

  // A list of texts that are not empty.
  std::vector<std::string> Texts(const char* key) {
    std::vector<std::string> texts;
    for (const auto& [item, path] : Items(key)) {
      if (!item->is_string() || item->get_ref<const std::string&>().empty()) {
        throw ModelError(m_source, path, "wrong type", "give a text");
      }
      texts.push_back(item->get<std::string>());
    }
    return texts;
  }

  // A list of whole numbers from `min` to `max`.
  std::vector<int> Integers(const char* key, int min, int max) {
    std::vector<int> numbers;
    for (const auto& [item, path] : Items(key)) {
      const double number = item->is_number_integer() ? item->get<double>() : min - 1.0;
      if (number < min || number > max) {
        throw ModelError(m_source, path, "not a whole number in range",
                         "use " + std::to_string(min) + " to " + std::to_string(max));
      }
      numbers.push_back(static_cast<int>(number));
    }
    return numbers;
  }

  ModelError Error(const char* key, const std::string& reason, const std::string& remedy) const {
    return ModelError(m_source, PathOf(key), reason, remedy);
  }

  // Refuses keys that nobody asked for: they are mistyped more often than meant.
  void Finish() const {
    for (const auto& item : m_json.items()) {
      if (m_read.count(item.key()) == 0) {
        throw Error(item.key().c_str(), "unknown key", "remove it or correct its name");
      }
    }
  }

 private:
  using Json = nlohmann::json;

  static constexpr std::int64_t kMaxWhole = INT64_MAX;
  static constexpr std::size_t kMaxItems = 64;  // configurations, profiles ... of one kind
  static constexpr std::size_t kMaxTextLength = 256;

  std::string PathOf(const std::string& key) const { return m_path.empty() ? key : m_path + "." + key; }

  // The items of a list, each with its path.
  std::vector<std::pair<const Json*, std::string>> Items(const char* key) {
    const Json& list = Required(key, &Json::is_array, "a list");
    if (list.size() > kMaxItems) {
      throw Error(key, "too many items", "give at most " + std::to_string(kMaxItems));
    }
    std::vector<std::pair<const Json*, std::string>> items;
    for (std::size_t i = 0; i < list.size(); ++i) {
      items.emplace_back(&list[i], PathOf(key) + "[" + std::to_string(i) + "]");
    }
    return items;
  }

  const Json& Required(const char* key, bool (Json::*isRight)() const noexcept, const char* what) {
    m_read.insert(key);
    const auto found = m_json.find(key);
    if (found == m_json.end()) {
      throw Error(key, "missing", std::string("give ") + what);
    }
    if (!((*found).*isRight)()) {
      throw Error(key, "wrong type", std::string("give ") + what);
    }
    return *found;
  }

  const Json& m_json;
  std::string m_source;
  std::string m_path;
  std::set<std::string> m_read;
};

}  // namespace simcam
