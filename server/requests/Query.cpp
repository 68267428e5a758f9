// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/Query.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/Exception.h>
#include <ctype.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <utility>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

const int deepestCondition = 64;

// A number or a text; neither for null, arrays, references and objects.
struct Operand {
    std::optional<long double> number;
    std::optional<std::string> text;
};

Operand operandOf(const CIMValue& value) {
    if (value.isNull() || value.isArray()) {
        return {};
    }
    const std::string text = utf8(value.toString());
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
        case CIMTYPE_STRING:
        case CIMTYPE_CHAR16:
        case CIMTYPE_DATETIME:
            return {{}, text};
        case CIMTYPE_REFERENCE:
        case CIMTYPE_OBJECT:
        case CIMTYPE_INSTANCE:
            return {};
        default:
            return {strtold(text.c_str(), nullptr), {}};
    }
}

CIMValue valueIn(const CIMInstance& instance, const CIMName& name) {
    return instance.getProperty(instance.findProperty(name)).getValue();
}

// Whether an embedded object is of a class.
Query::Truth isOfClass(const CIMValue& value, const CIMName& wanted, const Query::IsA& isA) {
    if (value.isNull() || value.isArray()) {
        return {};
    }
    if (value.getType() == CIMTYPE_INSTANCE) {
        CIMInstance instance;
        value.get(instance);
        return isA(instance.getClassName(), wanted);
    }
    if (value.getType() == CIMTYPE_OBJECT) {
        CIMObject object;
        value.get(object);
        return isA(object.getClassName(), wanted);
    }
    return {};
}

template <class T>
bool compare(const std::string& sign, const T& left, const T& right) {
    const bool less = left < right;
    const bool more = right < left;
    if (sign == "=") {
        return !less && !more;
    }
    if (sign == "<>") {
        return less || more;
    }
    const bool equalCounts = sign.size() == 2;
    const bool wanted = sign[0] == '<' ? less : more;
    return wanted || (equalCounts && !less && !more);
}

}  // namespace

class QueryParser {
 public:
    QueryParser(const std::string& text, bool isFql) : _isFql(isFql), _text(text) {
        if (text.size() > Query::longest) {
            throw CIMException(
                CIM_ERR_INVALID_QUERY,
                String(
                    ("a query of more than " + std::to_string(Query::longest) + " bytes").c_str()));
        }
        next();
    }

    bool takeWord(const char* word) {
        const bool is = strcasecmp(_token.c_str(), word) == 0;
        if (is) {
            next();
        }
        return is;
    }
    void expect(const char* word) {
        if (!takeWord(word)) {
            fail(word);
        }
    }
    CIMName takeName() {
        const String name(_token.c_str());
        if (_quoted || !CIMName::legal(name)) {
            fail("a name");
        }
        next();
        return CIMName(name);
    }
    void expectEnd() {
        if (_begin != _text.size()) {
            fail("the end");
        }
    }
    std::string rest() const { return _text.substr(_begin); }

    Query::Condition disjunction() {
        Query::Condition left = conjunction();
        while (takeWord("OR")) {
            left = joined(left, conjunction(), true);
        }
        return left;
    }

    std::vector<CIMName> named;  // properties of conditions

 private:
    [[noreturn]] void fail(const std::string& expected) const {
        const std::string found = _begin == _text.size() ? "the end" : "\"" + rest() + "\"";
        throw CIMException(
            CIM_ERR_INVALID_QUERY,
            String(("\"" + _text + "\": expected " + expected + " instead of " + found).c_str()));
    }

    // Whether the text holds a character of a set here.
    bool isAt(size_t place, const char* set) const {
        return place < _text.size() && _text[place] != 0 && strchr(set, _text[place]);
    }
    size_t afterAll(size_t place, const char* set) const {
        return std::min(_text.find_first_not_of(set, place), _text.size());
    }

    // Past a number that begins there; the place itself where none does.
    size_t afterNumber(size_t place) const {
        const size_t digits = place + isAt(place, "+-");
        size_t end = afterAll(digits, "0123456789");
        if (end == digits) {
            return place;
        }
        if (isAt(end, ".") && isAt(end + 1, "0123456789")) {
            end = afterAll(end + 1, "0123456789");
        }
        const size_t power = end + 1 + isAt(end + 1, "+-");
        return isAt(end, "eE") && isAt(power, "0123456789") ? afterAll(power, "0123456789") : end;
    }

    // The token that begins there: a text in quotes, a number, a word or a sign.
    size_t endOfToken(size_t place) {
        const size_t quote = isAt(place, "'\"") ? _text.find(_text[place], place + 1) : _text.npos;
        _quoted = quote != _text.npos;
        if (_quoted) {
            return quote + 1;
        }
        const size_t number = afterNumber(place);
        const size_t word =
            afterAll(place, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_");
        const bool isPair = (isAt(place, "<>") && isAt(place + 1, "=")) ||
                            (isAt(place, "<") && isAt(place + 1, ">"));
        return std::max({number, number > place ? place : word, place + 1 + isPair});
    }

    void next() {
        _begin = afterAll(_end, " \t\r\n\f\v");
        _quoted = false;
        _end = _begin == _text.size() ? _begin : endOfToken(_begin);
        _token = _text.substr(_begin, _end - _begin);
    }

    // The value that decides alone is true for OR and false for AND.
    static Query::Condition joined(Query::Condition left, Query::Condition right, bool deciding) {
        return [=](const CIMInstance& instance, const Query::IsA& isA) -> Query::Truth {
            const Query::Truth a = left(instance, isA);
            const Query::Truth b = right(instance, isA);
            if (a == deciding || b == deciding) {
                return deciding;
            }
            return a && b ? Query::Truth(!deciding) : Query::Truth();
        };
    }

    Query::Condition conjunction() {
        Query::Condition left = negation();
        while (takeWord("AND")) {
            left = joined(left, negation(), false);
        }
        return left;
    }

    Query::Condition negation() {
        if (++_depth > deepestCondition) {
            fail("a condition less deep");
        }
        Query::Condition result;
        if (takeWord("NOT")) {
            result = [inner = negation()](const CIMInstance& instance, const Query::IsA& isA) {
                const Query::Truth truth = inner(instance, isA);
                return truth ? Query::Truth(!*truth) : truth;
            };
        } else if (takeWord("(")) {
            result = disjunction();
            expect(")");
        } else {
            result = comparison();
        }
        _depth--;
        return result;
    }

    Query::Condition comparison() {
        const CIMName name = takeProperty();
        if (takeWord("IS")) {
            const bool wanted = !takeWord("NOT");
            expect("NULL");
            return [=](const CIMInstance& instance, const Query::IsA&) -> Query::Truth {
                return valueIn(instance, name).isNull() == wanted;
            };
        }
        if (!_isFql && takeWord("ISA")) {
            return [name, wanted = takeName()](const CIMInstance& instance, const Query::IsA& isA) {
                return isOfClass(valueIn(instance, name), wanted, isA);
            };
        }
        if (!_isFql && takeWord("LIKE")) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER, String("parse error: syntax error"));
        }
        const std::string sign = _token;
        static const char* const signs[] = {"=", "<>", "<", "<=", ">", ">="};
        if (std::find(std::begin(signs), std::end(signs), sign) == std::end(signs)) {
            fail("a comparison");
        }
        next();
        const bool isProperty = !_isFql && !_quoted && !isTruth() && CIMName::legal(_token.c_str());
        const CIMName other = isProperty ? takeProperty() : CIMName();
        const Operand constant = isProperty ? Operand() : literal();
        return [=](const CIMInstance& instance, const Query::IsA&) -> Query::Truth {
            const Operand left = operandOf(valueIn(instance, name));
            const Operand right = isProperty ? operandOf(valueIn(instance, other)) : constant;
            if (left.number && right.number) {
                return compare(sign, *left.number, *right.number);
            }
            if (left.text && right.text) {
                return compare(sign, *left.text, *right.text);
            }
            return {};
        };
    }

    CIMName takeProperty() {
        named.push_back(takeName());
        return named.back();
    }

    bool isTruth() const {
        return strcasecmp(_token.c_str(), "TRUE") == 0 || strcasecmp(_token.c_str(), "FALSE") == 0;
    }

    bool isNumber() const {
        const size_t digit = _token[0] == '-' || _token[0] == '+' ? 1 : 0;
        return _token.size() > digit && isdigit(static_cast<unsigned char>(_token[digit]));
    }

    Operand literal() {
        Operand result;
        if (_quoted) {
            result.text = _token.substr(1, _token.size() - 2);
        } else if (isTruth()) {
            result.text = strcasecmp(_token.c_str(), "TRUE") == 0 ? "TRUE" : "FALSE";
        } else if (isNumber()) {
            result.number = strtold(_token.c_str(), nullptr);
        } else {
            fail("a number, a text in quotes, TRUE or FALSE");
        }
        next();
        return result;
    }

    const bool _isFql;
    const std::string _text;
    size_t _begin = 0;  // of the token
    size_t _end = 0;
    std::string _token;
    bool _quoted = false;
    int _depth = 0;
};

namespace {

bool has(const CIMInstance& instance, const CIMName& name) {
    return instance.findProperty(name) != PEG_NOT_FOUND;
}

}  // namespace

Query::Query(const std::string& text) {
    QueryParser parser(text, false);
    parser.expect("SELECT");
    _all = parser.takeWord("*");
    if (!_all) {
        do {
            _selected.push_back(parser.takeName());
        } while (parser.takeWord(","));
    }
    parser.expect("FROM");
    className = parser.takeName();
    if (parser.takeWord("WHERE")) {
        take(parser);
    }
    parser.expectEnd();
}

Query Query::ofCondition(const std::string& text) {
    QueryParser parser(text, true);
    Query query;
    query._all = true;
    query.take(parser);
    parser.expectEnd();
    return query;
}

void Query::take(QueryParser& parser) {
    condition = parser.rest();
    _holds = parser.disjunction();
    _named = parser.named;
}

std::vector<CIMName> Query::properties() const {
    std::vector<CIMName> all = _selected;
    all.insert(all.end(), _named.begin(), _named.end());
    return all;
}

bool Query::matches(const CIMInstance& instance, const IsA& isA) const {
    return std::all_of(_named.begin(), _named.end(),
                       [&](const CIMName& name) { return has(instance, name); }) &&
           (!_holds || _holds(instance, isA) == true);
}

void Query::project(CIMInstance& indication) const {
    for (Uint32 i = _all ? 0 : indication.getPropertyCount(); i-- > 0;) {
        const CIMName name = indication.getProperty(i).getName();
        if (std::none_of(_selected.begin(), _selected.end(),
                         [&](const CIMName& selected) { return selected.equal(name); })) {
            indication.removeProperty(i);
        }
    }
}

}  // namespace velmar_embedded
