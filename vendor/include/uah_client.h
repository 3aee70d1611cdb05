#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/** Contract of the closed client of the usage data set. */

/** A record: a leading word and a value, whose text, when it holds one, is comma-separated. */
struct UahRecord {
    int64_t id;
    std::variant<int64_t, std::string> value;
};

/** Fills `records`; returns a negative value on failure. Any thread. */
extern "C" int Uah_fetch_dataset(std::vector<UahRecord>* records);
