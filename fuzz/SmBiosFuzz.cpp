#include <stdexcept>
#include <string>

#include "Common/SmBiosTable.h"
#include "Targets.h"

// A firmware blob of any bytes is framed, or refused with the documented error; accessors never leave an entry.
void orbis::fuzz::SmBios(Bytes input)
{
    try {
        const Veyra::Orbis::Cpp::Common::SmBiosTable table(input);
        for (unsigned type = 0; type < 256; ++type) {
            for (const auto& entry : table.GetEntryList(static_cast<std::uint8_t>(type))) {
                for (const std::int32_t offset : {-1, 0, 1, 4, 254, 255, 256, entry->length - 1, entry->length - 3}) {
                    std::uint8_t u8 = 0;
                    std::uint16_t u16 = 0;
                    std::uint32_t u32 = 0;
                    std::string text;
                    (void)entry->GetU8(offset, u8);
                    (void)entry->GetU16(offset, u16);
                    (void)entry->GetU32(offset, u32);
                    (void)entry->GetString(offset, text);
                }
            }
        }
    } catch (const std::runtime_error&) {
        // A structure shorter than its header.
    }
}
