#pragma once

#include <map>
#include <string>
#include <utility>

#include "twupdate/host.h"

namespace twupdate {

/// The settings of one page as they are stored, for code that reads them from the host's object.
class StoredSettings final : public Feature {
  public:
    explicit StoredSettings(std::map<std::string, Value> values) : values_(std::move(values)) {}

    Value GetSetting(const std::string& name) override {
        const auto found = values_.find(name);
        return found == values_.end() ? Value() : found->second;
    }

  private:
    std::map<std::string, Value> values_;
};

}  // namespace twupdate
