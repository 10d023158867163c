// The host program's macro variables.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace uwugit::host {

class MacroVariables {
 public:
  using Value = std::variant<std::string, double>;

  void set(std::string_view name, Value value) {
    values_.insert_or_assign(std::string(name), std::move(value));
  }
  std::optional<Value> get(std::string_view name) const {
    const auto found = values_.find(name);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  const std::map<std::string, Value, std::less<>>& all() const { return values_; }

 private:
  std::map<std::string, Value, std::less<>> values_;
};

}  // namespace uwugit::host
