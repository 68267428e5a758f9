// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "SiteFile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace site {

namespace {

using nlohmann::json;

const State STATES[] = {
    {"running", 2, false},  {"stopped", 3, false},    {"offline", 6, false},
    {"quiesced", 9, false}, {"aborted", 32768, true}, {"failed", 32769, true},
};

std::string readFile(const std::string& file) {
    errno = 0;
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    // A folder opens like a file and fails only when it is read; an empty file fails without error.
    if (!in.is_open() || (text.fail() && errno != 0)) {
        throw SiteError(file + ": cannot be read: " + std::strerror(errno));
    }
    return text.str();
}

// Watches the parser for fields given twice, of which it would keep the last without a word.
class FieldWatch {
 public:
    explicit FieldWatch(const std::string& file) : _file(file) {}

    bool operator()(int, json::parse_event_t event, json& parsed) {
        switch (event) {
            case json::parse_event_t::object_start:
            case json::parse_event_t::array_start:
                if (_open.size() == DEEPEST) {
                    throw SiteError(_file + ": " + place() + ": nested too deeply");
                }
                _open.push_back(Level{event == json::parse_event_t::array_start, 0, {}, {}});
                break;
            case json::parse_event_t::key:
                _open.back().key = parsed.get<std::string>();
                if (!_open.back().keys.insert(_open.back().key).second) {
                    throw SiteError(_file + ": " + place() + ": the field is there twice");
                }
                break;
            case json::parse_event_t::object_end:
            case json::parse_event_t::array_end:
                _open.pop_back();
                [[fallthrough]];
            case json::parse_event_t::value:
                if (!_open.empty()) {
                    _open.back().index++;
                }
                break;
        }
        return true;
    }

    std::string place() const {
        json::json_pointer pointer;
        for (const Level& level : _open) {
            pointer = level.isArray ? pointer / level.index : pointer / level.key;
        }
        return pointer.to_string();
    }

 private:
    static constexpr size_t DEEPEST = 20;  // a site needs 6

    struct Level {
        bool isArray;
        size_t index;
        std::string key;
        std::set<std::string> keys;
    };

    std::string _file;
    std::vector<Level> _open;
};

json parse(const std::string& file, const std::string& text) {
    FieldWatch watch(file);
    try {
        return json::parse(text, std::ref(watch));
    } catch (const json::parse_error& error) {
        // `byte` counts what was read, the offending byte included.
        const size_t at = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
        const auto line = std::count(text.data(), text.data() + at, '\n') + 1;
        const size_t lineStart = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
        const size_t column = at - (lineStart == std::string::npos ? 0 : lineStart + 1) + 1;
        // The parser's own text begins with its name and the same place.
        std::string reason = error.what();
        const size_t start = reason.find(": ");
        reason = start == std::string::npos ? reason : reason.substr(start + 2);
        throw SiteError(file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " +
                        reason);
    } catch (const json::exception& error) {  // a number that no type can hold
        const std::string reason = error.what();
        throw SiteError(file + ": " + watch.place() + ": " + reason.substr(reason.find("] ") + 2));
    }
}

bool isUuid(const std::string& text) {
    const std::string shape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                      [](unsigned char c, char s) { return s == '-' ? c == '-' : isxdigit(c); });
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return text;
}

// One value of the file together with its place, for messages.
class Node {
 public:
    Node(const std::string& file, const json& value, const json::json_pointer& place)
        : _file(file), _value(value), _place(place) {}

    [[noreturn]] void fail(const std::string& reason) const {
        std::string value = _value.dump();
        const size_t LONGEST = 60;
        if (value.size() > LONGEST) {
            size_t end = LONGEST;
            while ((static_cast<unsigned char>(value[end]) & 0xC0) == 0x80) {
                end--;  // not within a UTF-8 character
            }
            value = value.substr(0, end) + "...";
        }
        const std::string place = _place.to_string();
        throw SiteError(_file + ": " + (place.empty() ? "the whole file" : place) + ": " + reason +
                        ", found " + value);
    }

    /// An object that has no other fields than these.
    const Node& object(std::initializer_list<const char*> fields) const {
        if (!_value.is_object()) {
            fail("must be an object");
        }
        for (const auto& [name, value] : _value.items()) {
            if (std::find(fields.begin(), fields.end(), name) == fields.end()) {
                Node(_file, value, _place / name).fail("unknown field");
            }
        }
        return *this;
    }

    Node operator[](const char* field) const {
        const auto found = _value.find(field);
        if (found == _value.end()) {
            fail(std::string("the field \"") + field + "\" is missing");
        }
        return Node(_file, *found, _place / field);
    }

    template <class Read>
    auto array(Read read) const {
        if (!_value.is_array()) {
            fail("must be an array");
        }
        std::vector<decltype(read(*this))> result;
        for (size_t i = 0; i < _value.size(); i++) {
            result.push_back(read(Node(_file, _value[i], _place / i)));
        }
        return result;
    }

    /// A text without any of the characters of `reserved`.
    std::string text(const std::string& reserved = "") const {
        if (!_value.is_string()) {
            fail("must be a string");
        }
        const std::string result = _value.get<std::string>();
        if (result.empty()) {
            fail("must not be empty");
        }
        if (std::any_of(result.begin(), result.end(),
                        [](unsigned char c) { return c < 0x20 || c == 0x7F; })) {
            fail("must not contain control characters");
        }
        const size_t bad = result.find_first_of(reserved);
        if (bad != std::string::npos) {
            fail(std::string("must not contain \"") + result[bad] + "\"");
        }
        return result;
    }

    unsigned number(unsigned from, unsigned to) const {
        if (!_value.is_number_unsigned() || _value.get<uint64_t>() < from ||
            _value.get<uint64_t>() > to) {
            fail("must be a whole number from " + std::to_string(from) + " to " +
                 std::to_string(to));
        }
        return _value.get<unsigned>();
    }

    /// The value must not be in `seen`, which maps values to the places where they were met.
    void unique(std::map<std::string, std::string>& seen, const std::string& value,
                const std::string& what) const {
        const auto [first, isNew] = seen.emplace(value, _place.to_string());
        if (!isNew) {
            fail(what + " is already used at " + first->second);
        }
    }

 private:
    std::string _file;
    const json& _value;
    json::json_pointer _place;
};

// Reads the site top down; its members are what must be unique in all of it.
class SiteReader {
 public:
    Site site(const Node& node) {
        node.object({"domains"});
        return Site{node["domains"].array([this](const Node& n) { return domain(n); })};
    }

 private:
    using Seen = std::map<std::string, std::string>;

    // Names that become string keys: a text with "=" in it can read as an object path, and such a
    // key turns into a reference when its path goes through text.
    static constexpr const char* KEY_RESERVED = "=";

    static std::string uniqueText(const Node& node, Seen& seen, const char* what,
                                  const char* reserved = "") {
        const std::string text = node.text(reserved);
        node.unique(seen, text, what);
        return text;
    }

    std::string uuid(const Node& node) {
        const std::string text = node.text();
        if (!isUuid(text)) {
            node.fail("must be a UUID (8-4-4-4-12 hexadecimal digits)");
        }
        node.unique(_uuids, lower(text), "the UUID");
        return text;
    }

    Domain domain(const Node& node) {
        node.object({"name", "controlPoints", "systems"});
        Domain result;
        result.name = uniqueText(node["name"], _domains, "the name", KEY_RESERVED);
        result.controlPoints =
            node["controlPoints"].array([this](const Node& n) { return controlPoint(n); });
        result.systems = node["systems"].array([this](const Node& n) { return system(n); });
        return result;
    }

    ControlPoint controlPoint(const Node& node) {
        node.object({"uuid", "name", "networkAddress"});
        ControlPoint result;
        result.uuid = uuid(node["uuid"]);
        result.name = uniqueText(node["name"], _controlPoints, "the name");
        result.networkAddress = node["networkAddress"].text();
        return result;
    }

    HostingSystem system(const Node& node) {
        node.object({"type", "model", "serial", "uuid", "firmware", "packageTag", "partitions"});
        HostingSystem result;
        // "*" and "-" separate the parts of a system's name, which is a key.
        result.type = node["type"].text("*-=");
        result.model = node["model"].text("*-=");
        result.serial = node["serial"].text("*=");
        node["serial"].unique(_systems, systemName(result), "the system " + systemName(result));
        result.uuid = uuid(node["uuid"]);
        result.firmware = node["firmware"].text();
        result.packageTag = uniqueText(node["packageTag"], _packages, "the tag", KEY_RESERVED);
        Seen ids;
        Seen names;
        result.partitions =
            node["partitions"].array([&](const Node& n) { return partition(n, ids, names); });
        return result;
    }

    static Partition partition(const Node& node, Seen& ids, Seen& names) {
        node.object({"id", "name", "state"});
        Partition result;
        result.id = node["id"].number(1, 65535);
        node["id"].unique(ids, std::to_string(result.id), "the partition id");
        result.name = uniqueText(node["name"], names, "the name");
        result.state = findState(node["state"].text());
        if (result.state == nullptr) {
            std::string known;
            for (const State& state : STATES) {
                known += (known.empty() ? "" : ", ") + std::string(state.name);
            }
            node["state"].fail("unknown state (known: " + known + ")");
        }
        return result;
    }

    Seen _domains;
    Seen _controlPoints;
    Seen _systems;
    Seen _packages;
    Seen _uuids;
};

}  // namespace

const State* findState(const std::string& name) {
    const auto state = std::find_if(std::begin(STATES), std::end(STATES),
                                    [&](const State& s) { return s.name == name; });
    return state == std::end(STATES) ? nullptr : state;
}

const State* findState(uint16_t value) {
    const auto state = std::find_if(std::begin(STATES), std::end(STATES),
                                    [&](const State& s) { return s.value == value; });
    return state == std::end(STATES) ? nullptr : state;
}

std::string systemName(const HostingSystem& system) {
    return system.type + "-" + system.model + "*" + system.serial;
}

std::string partitionName(const HostingSystem& system, const Partition& partition) {
    return std::to_string(partition.id) + "*" + systemName(system);
}

Site loadSite(const std::string& file) {
    const json content = parse(file, readFile(file));
    return SiteReader().site(Node(file, content, json::json_pointer()));
}

}  // namespace site
