// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Faults.h>

#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/Exception.h>
#include <strings.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "client/Request.h"
#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

enum class Effect { Fail, Wait, Disconnect, Lose, Double, Full };

struct EffectName {
    const char* name;
    Effect effect;
};

const EffectName effectNames[] = {{"fail", Effect::Fail},     {"wait", Effect::Wait},
                                  {"lose", Effect::Lose},     {"disconnect", Effect::Disconnect},
                                  {"double", Effect::Double}, {"full", Effect::Full}};

struct FaultPlace {
    const char* name;
    Step::Kind kind;
    std::vector<Effect> effects;
};

const std::vector<FaultPlace>& places() {
    static const std::vector<FaultPlace>& all = *new std::vector<FaultPlace>{
        {"request", Step::Kind::Request, {Effect::Fail, Effect::Wait, Effect::Disconnect}},
        {"upcall", Step::Kind::Upcall, {Effect::Fail, Effect::Wait}},
        {"call", Step::Kind::Call, {Effect::Fail, Effect::Wait}},
        {"initialize", Step::Kind::Load, {Effect::Fail, Effect::Wait}},
        {"connect", Step::Kind::Connect, {Effect::Fail, Effect::Wait}},
        {"alert", Step::Kind::Indication, {Effect::Lose, Effect::Double, Effect::Wait}},
        {"queue", Step::Kind::Delivery, {Effect::Full}}};
    return all;
}

[[noreturn]] void refuse(const std::string& rule, const std::string& word,
                         const std::string& expected) {
    throw std::invalid_argument("fault \"" + rule + "\": \"" + word + "\" " + expected);
}

unsigned numberOf(const std::string& rule, const std::string& word, const std::string& text,
                  unsigned most) {
    unsigned number = 0;
    const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failed != std::errc() || end != text.data() + text.size() || number > most) {
        refuse(rule, word, "needs a number up to " + std::to_string(most));
    }
    return number;
}

CIMStatusCode statusOf(const std::string& rule, const std::string& word, const std::string& name) {
    for (int code = CIM_ERR_FAILED; code <= CIM_ERR_NAMESPACE_NOT_EMPTY; code++) {
        const CIMStatusCode status = static_cast<CIMStatusCode>(code);
        if (name == cimStatusCodeToString(status)) {
            return status;
        }
    }
    refuse(rule, word, "is not a status: write CIM_ERR_FAILED, CIM_ERR_NOT_FOUND and so on");
}

bool isSame(const std::string& wanted, const std::string& found) {
    return wanted.empty() || strcasecmp(wanted.c_str(), found.c_str()) == 0;
}

}  // namespace

struct Faults::Rule {
    std::string text;
    const FaultPlace* place = nullptr;
    std::string operation, className, method, provider, asker;
    unsigned nth = 0;  // 0: each
    Effect effect = Effect::Fail;
    CIMStatusCode status = CIM_ERR_FAILED;
    std::chrono::milliseconds wait{0};
    unsigned matches = 0;

    explicit Rule(const std::string& rule);
    bool fits(const Step& step) const;

 private:
    bool takeEffect(const std::string& word, const std::string& name, const std::string& value);
    bool takeKey(const std::string& word, const std::string& name, const std::string& value);
};

Faults::Rule::Rule(const std::string& rule) : text(rule) {
    std::istringstream words(rule);
    std::string word;
    words >> word;
    for (const FaultPlace& one : places()) {
        place = word == one.name ? &one : place;
    }
    if (place == nullptr) {
        refuse(rule, word,
               "is not a place: write request, upcall, call, initialize, connect, alert or queue");
    }
    bool hasEffect = false;
    while (words >> word) {
        const size_t end = std::min(word.find('='), word.size());
        const std::string name = word.substr(0, end);
        const std::string value = word.substr(std::min(end + 1, word.size()));
        if (hasEffect) {
            refuse(rule, word, "stands after the effect, which ends a rule");
        } else if (takeEffect(word, name, value)) {
            hasEffect = true;
        } else if (end == word.size() && operation.empty()) {
            operation = word;
        } else if (!takeKey(word, name, value)) {
            refuse(rule, word, "is not a key: write class, method, provider, from or nth");
        }
    }
    if (!hasEffect) {
        refuse(rule, word, "is its end, without an effect such as fail, wait=500 or lose");
    }
}

bool Faults::Rule::takeEffect(const std::string& word, const std::string& name,
                              const std::string& value) {
    const auto* const found = std::find_if(std::begin(effectNames), std::end(effectNames),
                                           [&](const EffectName& one) { return name == one.name; });
    if (found == std::end(effectNames)) {
        return false;
    }
    effect = found->effect;
    if (std::count(place->effects.begin(), place->effects.end(), effect) == 0) {
        refuse(text, word, std::string("does not happen to ") + place->name);
    }
    if (effect == Effect::Wait) {
        wait = std::chrono::milliseconds(numberOf(text, word, value, 3'600'000));
    } else if (effect == Effect::Fail && !value.empty()) {
        status = statusOf(text, word, value);
    } else if (!value.empty()) {
        refuse(text, word, "takes no value");
    }
    return true;
}

bool Faults::Rule::takeKey(const std::string& word, const std::string& name,
                           const std::string& value) {
    if (name == "nth") {
        nth = numberOf(text, word, value, 1'000'000'000);
        return true;
    }
    std::string* const taken = name == "class"      ? &className
                               : name == "method"   ? &method
                               : name == "provider" ? &provider
                               : name == "from"     ? &asker
                                                    : nullptr;
    if (taken != nullptr) {
        *taken = value;
    }
    return taken != nullptr && !value.empty();
}

bool Faults::Rule::fits(const Step& step) const {
    return step.kind == place->kind && isSame(operation, step.operation) &&
           (step.kind != Step::Kind::Load || step.operation == place->name) &&
           isSame(className, utf8(step.path.getClassName())) && isSame(method, step.method) &&
           isSame(provider, step.provider) &&
           isSame(asker, step.asker.empty() ? "client" : step.asker);
}

Faults::Faults() = default;
Faults::~Faults() = default;

void Faults::add(const std::string& rule) {
    auto added = std::make_shared<Rule>(rule);
    const std::lock_guard<std::mutex> guard(_lock);
    _rules.push_back(std::move(added));
    _areSet = true;
}

void Faults::clear() {
    const std::lock_guard<std::mutex> guard(_lock);
    _rules.clear();
    _areSet = false;
}

std::shared_ptr<const Faults::Rule> Faults::match(const Step& step) {
    if (!areSet()) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> guard(_lock);
    std::shared_ptr<const Rule> first;
    for (const std::shared_ptr<Rule>& rule : _rules) {  // each counts its own matches
        if (rule->fits(step) && (rule->nth == ++rule->matches || rule->nth == 0) && !first) {
            first = rule;
        }
    }
    return first;
}

void Faults::apply(const Step& step) {
    if (step.kind == Step::Kind::Indication || step.kind == Step::Kind::Delivery) {
        return;  // they have their own
    }
    const std::shared_ptr<const Rule> rule = match(step);
    if (rule == nullptr) {
        return;
    }
    const std::string reason = "fault \"" + rule->text + "\"";
    std::this_thread::sleep_for(rule->wait);
    switch (rule->effect) {
        case Effect::Fail:
            if (step.kind == Step::Kind::Connect) {
                throw CannotConnectException(String(reason.c_str()));
            }
            throw CIMException(rule->status, String(reason.c_str()));
        case Effect::Disconnect:
            throw LostConnection(CIM_ERR_FAILED, String(reason.c_str()));
        default:
            break;
    }
}

unsigned Faults::copiesOf(const Step& indication) {
    const std::shared_ptr<const Rule> rule = match(indication);
    if (rule == nullptr) {
        return 1;
    }
    std::this_thread::sleep_for(rule->wait);
    return rule->effect == Effect::Lose ? 0 : rule->effect == Effect::Double ? 2 : 1;
}

bool Faults::isFull(const Step& delivery) { return match(delivery) != nullptr; }

}  // namespace velmar_embedded
