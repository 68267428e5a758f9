// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "AskOutput.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMProperty.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <vector>

#include "checks/Wording.h"
#include "model/Text.h"
#include "schema/MofWriter.h"

using namespace Pegasus;
using nlohmann::ordered_json;
using velmar_embedded::utf8;

namespace velmar_cli {

std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

namespace {

ordered_json jsonOf(const CIMValue& value);

ordered_json propertiesOf(const CIMInstance& instance) {
    ordered_json properties = ordered_json::object();
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        properties[utf8(property.getName())] = jsonOf(property.getValue());
    }
    return properties;
}

ordered_json jsonOf(const CIMObject& object) {
    if (object.isUninitialized()) {
        return nullptr;
    }
    if (object.isClass()) {
        return {{"class", utf8(object.getClassName())},
                {"mof", velmar_embedded::mofOf(CIMClass(object))}};
    }
    return {{"class", utf8(object.getClassName())},
            {"properties", propertiesOf(CIMInstance(object))}};
}

// The objects in a value; none in one of another type.
std::vector<CIMObject> objectsIn(const CIMValue& value) {
    const auto all = [](const auto& elements) {
        std::vector<CIMObject> objects;
        for (Uint32 i = 0; i < elements.size(); i++) {
            objects.emplace_back(elements[i]);
        }
        return objects;
    };
    Array<CIMObject> objects;
    Array<CIMInstance> instances;
    if (value.getType() == CIMTYPE_OBJECT && !value.isNull()) {
        objects.append(CIMObject());
        value.isArray() ? value.get(objects) : value.get(objects[0]);
    } else if (value.getType() == CIMTYPE_INSTANCE && !value.isNull()) {
        instances.append(CIMInstance());
        value.isArray() ? value.get(instances) : value.get(instances[0]);
        return all(instances);
    }
    return all(objects);
}

ordered_json jsonOf(const CIMValue& value) {
    const std::vector<CIMObject> objects = objectsIn(value);
    if (!objects.empty() && !value.isArray()) {
        return jsonOf(objects[0]);
    }
    if (!objects.empty()) {
        ordered_json list = ordered_json::array();
        std::transform(objects.begin(), objects.end(), std::back_inserter(list),
                       [](const CIMObject& one) { return jsonOf(one); });
        return list;
    }
    const bool isText = value.getType() == CIMTYPE_STRING || value.getType() == CIMTYPE_DATETIME ||
                        value.getType() == CIMTYPE_REFERENCE || value.getType() == CIMTYPE_CHAR16;
    if (value.isNull()) {
        return nullptr;
    }
    if (isText && !value.isArray()) {
        return utf8(value.toString());
    }
    if (!isText && value.getType() <= CIMTYPE_REAL64) {
        std::string text = velmar_embedded::lowerCase(velmar_embedded::mofOf(value));
        if (value.isArray()) {
            text.front() = '[';
            text.back() = ']';
        }
        return ordered_json::accept(text) ? ordered_json::parse(text) : ordered_json(text);
    }
    if (value.getType() == CIMTYPE_STRING) {
        Array<String> elements;
        value.get(elements);
        ordered_json list = ordered_json::array();
        for (Uint32 i = 0; i < elements.size(); i++) {
            list.push_back(utf8(elements[i]));
        }
        return list;
    }
    return velmar_embedded::mofOf(value);
}

std::string pathText(const CIMObjectPath& path) {
    return printable(utf8(velmar_embedded::withoutPlace(path)));
}

std::string cell(const CIMValue& value);

// As it is typed.
std::string objectText(const CIMObject& object) {
    if (object.isUninitialized() || object.isClass()) {
        return object.isUninitialized() ? "NULL" : utf8(object.getClassName());
    }
    const CIMInstance instance(object);
    std::vector<std::string> properties;
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        const CIMValue& value = property.getValue();
        if (!value.isNull()) {
            properties.push_back(
                utf8(property.getName()) + "=" +
                (value.getType() == CIMTYPE_STRING ? velmar_embedded::mofOf(value) : cell(value)));
        }
    }
    return fmt::format("{}{{{}}}", utf8(instance.getClassName()), fmt::join(properties, ","));
}

std::string cell(const CIMValue& value) {
    std::vector<std::string> objects;
    for (const CIMObject& one : objectsIn(value)) {
        objects.push_back(objectText(one));
    }
    if (!objects.empty()) {
        return printable(fmt::format("{}", fmt::join(objects, ",")));
    }
    const bool isPlain = !value.isArray() && !value.isNull() && value.getType() < CIMTYPE_OBJECT;
    return printable(isPlain ? utf8(value.toString()) : velmar_embedded::mofOf(value));
}

std::string propertyList(const CIMInstance& instance) {
    size_t width = 0;
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        width = std::max(width, utf8(instance.getProperty(i).getName()).size());
    }
    std::string text = pathText(instance.getPath()) + "\n";
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        const CIMConstProperty property = instance.getProperty(i);
        if (!property.getValue().isNull()) {
            text += fmt::format("  {:<{}}  {}\n", utf8(property.getName()), width,
                                cell(property.getValue()));
        }
    }
    return text;
}

// A row for each instance below one with the names of all properties that are not null somewhere.
std::vector<std::vector<std::string>> rowsOf(const Array<CIMInstance>& instances) {
    std::vector<std::string> names;
    for (Uint32 i = 0; i < instances.size(); i++) {
        for (Uint32 j = 0; j < instances[i].getPropertyCount(); j++) {
            const CIMConstProperty property = instances[i].getProperty(j);
            const std::string name = utf8(property.getName());
            if (!property.getValue().isNull() &&
                std::find(names.begin(), names.end(), name) == names.end()) {
                names.push_back(name);
            }
        }
    }
    std::vector<std::vector<std::string>> rows = {names};
    for (Uint32 i = 0; i < instances.size(); i++) {
        rows.emplace_back();
        for (const std::string& name : names) {
            const Uint32 index = instances[i].findProperty(CIMName(name.c_str()));
            const bool isThere =
                index != PEG_NOT_FOUND && !instances[i].getProperty(index).getValue().isNull();
            rows.back().push_back(isThere ? cell(instances[i].getProperty(index).getValue()) : "");
        }
    }
    return rows;
}

// Empty where it is wider than `columns`.
std::string tableOf(const Array<CIMInstance>& instances, size_t columns) {
    const std::vector<std::vector<std::string>> rows = rowsOf(instances);
    std::vector<size_t> widths(rows[0].size());
    size_t all = 0;
    for (size_t i = 0; i < widths.size(); i++) {
        for (const std::vector<std::string>& row : rows) {
            widths[i] = std::max(widths[i], row[i].size());
        }
        all += widths[i] + 2;
    }
    if (all > columns + 2) {
        return "";
    }
    std::string text;
    for (const std::vector<std::string>& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); i++) {
            line += fmt::format("{:<{}}", row[i], widths[i] + 2);
        }
        line.resize(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

}  // namespace

std::string shown(const Array<CIMInstance>& instances, Format format, size_t columns) {
    std::string text;
    ordered_json all = ordered_json::array();
    if (format == Format::Table && instances.size() > 1) {
        text = tableOf(instances, columns);
        if (!text.empty()) {
            return text;
        }
    }
    for (Uint32 i = 0; i < instances.size(); i++) {
        if (format == Format::Mof) {
            text += velmar_embedded::mofOf(instances[i]);
        } else if (format == Format::Table) {
            text += propertyList(instances[i]);
        } else {
            ordered_json one = {{"path", pathText(instances[i].getPath())},
                                {"class", utf8(instances[i].getClassName())},
                                {"properties", propertiesOf(instances[i])}};
            all.push_back(one);
        }
    }
    return format == Format::Json ? all.dump(2) + "\n" : text;
}

namespace {

std::string lines(const std::vector<std::string>& items, Format format) {
    return format == Format::Json ? ordered_json(items).dump(2) + "\n"
           : items.empty()        ? ""
                                  : fmt::format("{}\n", fmt::join(items, "\n"));
}

}  // namespace

std::string shown(const Array<CIMObjectPath>& paths, Format format) {
    std::vector<std::string> items;
    for (Uint32 i = 0; i < paths.size(); i++) {
        items.push_back(pathText(paths[i]));
    }
    return lines(items, format);
}

std::string shown(const Array<CIMName>& names, Format format) {
    std::vector<std::string> items;
    for (Uint32 i = 0; i < names.size(); i++) {
        items.push_back(utf8(names[i]));
    }
    return lines(items, format);
}

std::string shown(const Array<CIMClass>& classes, Format format) {
    std::string text;
    ordered_json all = ordered_json::array();
    for (Uint32 i = 0; i < classes.size(); i++) {
        const std::string mof = velmar_embedded::mofOf(classes[i]);
        text += (i == 0 ? "" : "\n") + mof;
        all.push_back({{"class", utf8(classes[i].getClassName())},
                       {"superclass", utf8(classes[i].getSuperClassName())},
                       {"mof", mof}});
    }
    return format == Format::Json ? all.dump(2) + "\n" : text;
}

std::string shown(const CIMValue& result, const Array<CIMParamValue>& out, Format format) {
    ordered_json all = {{"returned", jsonOf(result)}, {"parameters", ordered_json::object()}};
    std::string text = "returned " + cell(result) + "\n";
    for (Uint32 i = 0; i < out.size(); i++) {
        const std::string name = utf8(out[i].getParameterName());
        text += "  " + name + " = " + cell(out[i].getValue()) + "\n";
        all["parameters"][name] = jsonOf(out[i].getValue());
    }
    return format == Format::Json ? all.dump(2) + "\n" : text;
}

}  // namespace velmar_cli
