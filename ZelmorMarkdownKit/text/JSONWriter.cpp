// nlohmann::json keeps object members in a std::map, so iterating gives ascending key order.
#include "ZelmorMarkdownKit/text/JSONWriter.h"

#include "ZelmorMarkdownKit/text/UTF8.h"

#include <charconv>
#include <cmath>

namespace zelmor::JSONWriter {

namespace {

void writeString(std::string& out, const std::string& raw) {
    static constexpr char hex[] = "0123456789abcdef";
    // A string may carry bytes from a file name or a file that are not UTF-8; what we write must
    // stay readable JSON for the client, so those bytes go out as U+FFFD.
    std::string repairedCopy;
    const std::string& s = UTF8::isValid(raw) ? raw : (repairedCopy = UTF8::repaired(raw));
    out += '"';
    for (unsigned char c : s) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '/':
            out += "\\/";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        default:
            if (c < 0x20) {
                out += "\\u00";
                out += hex[c >> 4];
                out += hex[c & 0xF];
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    out += '"';
}

bool writeNumber(std::string& out, const nlohmann::json& value) {
    char buffer[64];
    if (value.is_number_integer()) {
        auto [end, error] = value.is_number_unsigned()
                                ? std::to_chars(buffer, buffer + sizeof buffer, value.get<std::uint64_t>())
                                : std::to_chars(buffer, buffer + sizeof buffer, value.get<std::int64_t>());
        out.append(buffer, end);
        return true;
    }
    double number = value.get<double>();
    if (!std::isfinite(number)) return false;
    // Whole numbers print without a fraction, as the platform writer does ("1", not "1.0").
    if (number == std::floor(number) && std::fabs(number) < 1e15) {
        auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, static_cast<std::int64_t>(number));
        out.append(buffer, end);
        return true;
    }
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number);
    out.append(buffer, end);
    return true;
}

bool write(std::string& out, const nlohmann::json& value, int indent, int depth) {
    auto newline = [&](int level) {
        if (indent == 0) return;
        out += '\n';
        out.append(static_cast<size_t>(level * indent), ' ');
    };
    switch (value.type()) {
    case nlohmann::json::value_t::null:
        out += "null";
        return true;
    case nlohmann::json::value_t::boolean:
        out += value.get<bool>() ? "true" : "false";
        return true;
    case nlohmann::json::value_t::string:
        writeString(out, value.get_ref<const std::string&>());
        return true;
    case nlohmann::json::value_t::number_integer:
    case nlohmann::json::value_t::number_unsigned:
    case nlohmann::json::value_t::number_float:
        return writeNumber(out, value);
    case nlohmann::json::value_t::array: {
        out += '[';
        bool first = true;
        for (const auto& element : value) {
            if (!first) out += ',';
            newline(depth + 1);
            if (!write(out, element, indent, depth + 1)) return false;
            first = false;
        }
        if (!first) newline(depth);
        out += ']';
        return true;
    }
    case nlohmann::json::value_t::object: {
        out += '{';
        bool first = true;
        for (const auto& [key, member] : value.items()) {
            if (!first) out += ',';
            newline(depth + 1);
            writeString(out, key);
            out += indent == 0 ? ":" : " : ";
            if (!write(out, member, indent, depth + 1)) return false;
            first = false;
        }
        if (!first) newline(depth);
        out += '}';
        return true;
    }
    default:
        return false;
    }
}

} // namespace

std::optional<std::string> compact(const nlohmann::json& value) {
    std::string out;
    if (!write(out, value, 0, 0)) return std::nullopt;
    return out;
}

std::optional<std::string> pretty(const nlohmann::json& value) {
    std::string out;
    if (!write(out, value, 2, 0)) return std::nullopt;
    return out;
}

} // namespace zelmor::JSONWriter
