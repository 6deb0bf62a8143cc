// Value data as text and back. Callers compare and count texts; only this file knows bytes.
#include "common/modText.h"
#include "registry/modRegistry.h"

namespace modRegistry {

namespace {

constexpr std::size_t kNumberBytes = 4;
constexpr std::uint32_t kLargestNumber = 2147483647;

std::string NumberText(std::string_view data) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < data.size(); ++i) {
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(data[i])) << (8 * i);
    }
    return Decimal(static_cast<std::int32_t>(number));
}

std::size_t FewestBytes(std::uint32_t number) {
    std::size_t count = 1;
    while (count < kNumberBytes && (number >> (8 * count)) != 0) {
        ++count;
    }
    return count;
}

}  // namespace

std::string ValueTextFromData(DWORD type, std::string_view data) {
    switch (type) {
        case REG_SZ:
        case REG_EXPAND_SZ:
            // The last byte is the terminator by convention; nobody checks, neither do we.
            return std::string(data.substr(0, data.empty() ? 0 : data.size() - 1));
        case REG_BINARY:
        case REG_DWORD:
            return data.size() > kNumberBytes ? std::string(data) : NumberText(data);
        default:
            return {};
    }
}

LONG DataFromValueText(DWORD type, std::string_view text, std::string& data) {
    if (type == REG_SZ) {
        data.assign(text);
        data += '\0';
        return ERROR_SUCCESS;
    }
    const std::optional<std::uint32_t> number = WholeNumber(text, kLargestNumber);
    if ((type != REG_DWORD && type != REG_BINARY) || !number) {
        return ERROR_INVALID_PARAMETER;
    }
    data.clear();
    const std::size_t count = type == REG_DWORD ? kNumberBytes : FewestBytes(*number);
    for (std::size_t i = 0; i < count; ++i) {
        data += static_cast<char>((*number >> (8 * i)) & 0xFFU);
    }
    return ERROR_SUCCESS;
}

}  // namespace modRegistry
