#include "platform/windows/frames.h"

#include <windows.h>

#include <cstring>

namespace frames {

namespace {

using Bytes = const unsigned char*;

// Where the frame descriptions of the program begin: its own section. (The start code would
// tell, but tells a library instead when one of that name is in the process.)
Bytes FrameDescriptions() {
    const auto* const image = reinterpret_cast<Bytes>(GetModuleHandleA(nullptr));
    const auto* const head = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        image + reinterpret_cast<const IMAGE_DOS_HEADER*>(image)->e_lfanew);
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(head);
    for (WORD i = 0; i < head->FileHeader.NumberOfSections; ++i, ++section) {
        if (std::memcmp(section->Name, ".eh_fram", sizeof section->Name) == 0) {
            return image + section->VirtualAddress;
        }
    }
    return nullptr;
}

class Reader {
 public:
    explicit Reader(Bytes at) : at_(at) {}
    [[nodiscard]] Bytes At() const { return at_; }
    void Skip(std::size_t bytes) { at_ += bytes; }

    template <typename Number>
    Number Fixed() {
        Number number;
        std::memcpy(&number, at_, sizeof(number));
        at_ += sizeof(number);
        return number;
    }
    std::uint32_t Unsigned() {  // LEB128
        std::uint32_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned char part = *at_++;
            number |= static_cast<std::uint32_t>(part & 0x7FU) << shift;
            if ((part & 0x80U) == 0) {
                return number;
            }
        }
    }
    // An address in the encoding that the description names. Only the two that occur:
    // absolute, and relative to its own place, each also by way of a pointer.
    Address Encoded(unsigned encoding) {
        const auto own = reinterpret_cast<Address>(at_);
        auto address = Fixed<Address>();
        if (address != 0 && (encoding & 0x70U) == 0x10U) {
            address += own;
        }
        if (address != 0 && (encoding & 0x80U) != 0) {
            address = *reinterpret_cast<const Address*>(address);
        }
        return address;
    }

 private:
    Bytes at_;
};

// What the descriptions of several functions have in common.
struct Common {
    Bytes instructions, end;
    std::int32_t dataFactor = 0;
    unsigned addressEncoding = 0, tableEncoding = 0;
    bool hasTable = false;
    Address personality = 0;
};

Common ReadCommon(Bytes record) {
    Reader reader(record);
    Common common{};
    common.end = record + 4 + reader.Fixed<std::uint32_t>();
    reader.Skip(5);  // its kind, its version
    const char* augmentation = reinterpret_cast<const char*>(reader.At());
    reader.Skip(std::strlen(augmentation) + 1);
    reader.Unsigned();  // the code's unit, 1 on this processor
    // One byte of signed LEB128: -4.
    common.dataFactor = static_cast<std::int32_t>(reader.Unsigned() ^ 0x40U) - 0x40;
    reader.Skip(1);  // the column of the return address
    const std::uint32_t size = reader.Unsigned();
    common.instructions = reader.At() + size;
    for (const char* letter = augmentation + 1; *letter != '\0'; ++letter) {
        if (*letter == 'R') {
            common.addressEncoding = reader.Fixed<unsigned char>();
        } else if (*letter == 'L') {
            common.tableEncoding = reader.Fixed<unsigned char>();
            common.hasTable = true;
        } else if (*letter == 'P') {
            const unsigned encoding = reader.Fixed<unsigned char>();
            common.personality = reader.Encoded(encoding);
        }
    }
    return common;
}

// Carries out the instructions up to the place that the frame stands at.
class Interpreter {
 public:
    Interpreter(Frame& frame, std::int32_t factor) : frame_(frame), factor_(factor) {}

    void Run(Bytes from, Bytes end, Address start, Address place) {
        Reader reader(from);
        Address at = start;
        while (reader.At() < end && at <= place && frame_.understood) {
            const unsigned code = reader.Fixed<unsigned char>();
            const unsigned low = code & 0x3FU;
            switch (code >> 6) {
                case 1:  // advance_loc
                    at += low;
                    break;
                case 2:  // offset
                    Save(low, static_cast<std::int32_t>(reader.Unsigned()) * factor_);
                    break;
                case 3:  // restore
                    Restore(low);
                    break;
                default:
                    at += Extended(low, reader);
                    break;
            }
        }
    }

 private:
    // Returns by how much the place advances.
    Address Extended(unsigned code, Reader& reader) {
        Rules& rules = frame_.rules;
        switch (code) {
            case 0x00:  // nop
                return 0;
            case 0x02:  // advance_loc1
                return reader.Fixed<std::uint8_t>();
            case 0x03:  // advance_loc2
                return reader.Fixed<std::uint16_t>();
            case 0x04:  // advance_loc4
                return reader.Fixed<std::uint32_t>();
            case 0x0A:  // remember_state
                frame_.understood = depth_ < kDepth;
                if (frame_.understood) {
                    remembered_[depth_++] = rules;
                }
                return 0;
            case 0x0B:  // restore_state
                frame_.understood = depth_ > 0;
                if (frame_.understood) {
                    rules = remembered_[--depth_];
                }
                return 0;
            case 0x0C:  // def_cfa
                rules.base = reader.Unsigned();
                rules.baseOffset = static_cast<std::int32_t>(reader.Unsigned());
                return 0;
            case 0x0D:  // def_cfa_register
                rules.base = reader.Unsigned();
                return 0;
            case 0x0E:  // def_cfa_offset
                rules.baseOffset = static_cast<std::int32_t>(reader.Unsigned());
                return 0;
            case 0x2E:  // GNU_args_size
                frame_.argumentBytes = reader.Unsigned();
                return 0;
            default:
                frame_.understood = false;
                return 0;
        }
    }
    void Save(unsigned number, std::int32_t offset) {
        frame_.understood = number <= Count;
        if (frame_.understood) {
            frame_.rules.saved[number] = true;
            frame_.rules.savedAt[number] = offset;
        }
    }
    void Restore(unsigned number) {
        frame_.understood = number < Count;
        if (frame_.understood) {
            frame_.rules.saved[number] = false;
        }
    }

    static constexpr unsigned kDepth = 4;
    Frame& frame_;
    std::int32_t factor_;
    Rules remembered_[kDepth];
    unsigned depth_ = 0;
};

}  // namespace

bool Describe(Context& context, Frame& frame) {
    const Address place = context.next - 1;  // within the call that has not returned
    for (Bytes record = FrameDescriptions(); record != nullptr;) {
        Reader reader(record);
        const auto length = reader.Fixed<std::uint32_t>();
        if (length == 0) {
            return false;
        }
        const Bytes end = reader.At() + length;
        const Bytes own = reader.At();
        const auto distance = reader.Fixed<std::uint32_t>();
        record = end;
        if (distance == 0) {
            continue;  // common to several functions
        }
        const Common common = ReadCommon(own - distance);
        const Address start = reader.Encoded(common.addressEncoding);
        const auto size = reader.Fixed<Address>();
        if (place - start >= size) {
            continue;
        }
        const std::uint32_t augmentation = reader.Unsigned();
        const Bytes instructions = reader.At() + augmentation;
        context.functionStart = start;
        context.callSites = common.hasTable ? reader.Encoded(common.tableEncoding) : 0;
        frame.personality = common.personality;
        Interpreter interpreter(frame, common.dataFactor);
        interpreter.Run(common.instructions, common.end, start, start);
        interpreter.Run(instructions, end, start, place);
        return frame.understood && frame.rules.base < Count;
    }
    return false;
}

void Leave(Context& context, const Frame& frame) {
    const Rules& rules = frame.rules;
    const Address base = context.registers[rules.base] + static_cast<Address>(rules.baseOffset);
    const auto stored = [&](unsigned number) {
        return *reinterpret_cast<const Address*>(base +
                                                 static_cast<Address>(rules.savedAt[number]));
    };
    for (unsigned number = 0; number < Count; ++number) {
        if (rules.saved[number]) {
            context.registers[number] = stored(number);
        }
    }
    context.next = stored(Count);
    context.registers[Esp] = base;
}

}  // namespace frames
