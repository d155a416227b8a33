// The maker's layouts: vendor specific area of Identify Controller and health log page D1h. Offsets stand in the comments of the
// device-query library's headers of the same names; they are written here a second time, so that a mistake in one of them is seen.
#include <algorithm>
#include <numeric>

#include "DiskModel.h"

namespace orbis::simulated {
namespace {

constexpr std::size_t kAreaLength = 96;
constexpr std::size_t kHealthLength = 64;
constexpr std::size_t kHealthPageSize = 512;

// Signature, version 1, length, and the byte that makes the layout's sum a multiple of 256.
void PutHead(ByteVector& page, std::string_view signature, std::size_t length)
{
    std::copy(signature.begin(), signature.end(), page.begin());
    page[8] = 1;
    page[10] = static_cast<std::uint8_t>(length);
    const unsigned sum = std::accumulate(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(length), 0U);
    page[11] = static_cast<std::uint8_t>(0U - sum);
}

}  // namespace

ByteVector BuildMakerArea(const description::MakerArea& maker)
{
    ByteVector guid = ToBytes(maker.drive_guid());
    guid.resize(16);
    PageWriter page(kAreaLength);
    page.Put32(12, maker.form_factor());
    page.PutText(16, 32, maker.eppid());
    page.PutBytes(48, guid);
    page.PutText(64, 8, maker.component_id());
    page.Put16(72, maker.class_0()).Put16(74, maker.class_1()).Put16(76, maker.class_2()).Put16(78, maker.class_11());
    page.Put8(80, (maker.crash_protection() ? 1U : 0U) | (maker.host_metadata_log() ? 2U : 0U));
    PutHead(page.Page(), "VEYRA-ID", kAreaLength);
    return page.Take();
}

ByteVector BuildMakerHealthLog(const description::MakerHealth& health)
{
    PageWriter page(kHealthPageSize);
    page.Put8(12, health.wear_leveling_count());
    page.Put8(13, health.used_reserved_blocks_worst());
    page.Put8(14, health.used_reserved_blocks_total());
    page.Put8(15, health.abnormal_voltage());
    page.Put32(16, health.reserved_blocks_total());
    page.Put32(20, static_cast<std::uint32_t>(health.minimum_temperature()));
    page.Put32(24, static_cast<std::uint32_t>(health.maximum_temperature()));
    page.Put32(28, health.host_active_idle());
    page.Put64(32, health.data_written()).Put64(40, health.data_written_high());
    page.Put32(48, health.non_operational_states());
    PutHead(page.Page(), "VEYRA-HL", kHealthLength);
    return page.Take();
}

}  // namespace orbis::simulated
