#include <cstdint>

#include "MessageArena.h"
#include "SmartDataGetter.h"
#include "StorageHelper.h"
#include "platform/Text.h"

// The SMART messages, one line for each field.
namespace Veyra::Orbis::Plugins {
namespace {

using Cpp::Common::kSmartAttributeIds;
using Cpp::Common::SmartAttribute;
using Cpp::Common::SmartDataCollection;
using Cpp::Common::SmartSlotOf;
using orbis::platform::DefaultToUtf8;

// The attribute with the ATA id, or null when it has no value.
template <std::uint8_t id>
datatypes::SmartAttributeDetail* Attribute(const SmartDataCollection& from, google::protobuf::Arena& arena)
{
    constexpr std::size_t kSlot = SmartSlotOf(id);
    static_assert(kSlot < kSmartAttributeIds.size());
    return SmartDataGetter::toSmartAttributeDetail(from.attributes[kSlot], arena);
}

}  // namespace

datatypes::SmartAttributeDetail* SmartDataGetter::toSmartAttributeDetail(const SmartAttribute& slot, Arena& arena)
{
    if (!slot.raw && !slot.normalised && !slot.worst && !slot.threshold) {
        return nullptr;
    }
    auto* detail = NewMessage<datatypes::SmartAttributeDetail>(arena);
    if (slot.raw) {
        detail->mutable_raw_value()->set_value(*slot.raw);
    }
    if (slot.normalised) {
        detail->mutable_normal()->set_value(*slot.normalised);
    }
    if (slot.worst) {
        detail->mutable_worst()->set_value(*slot.worst);
    }
    if (slot.threshold) {
        detail->mutable_threshold()->set_value(*slot.threshold);
    }
    return detail;
}

template <>
datatypes::SmartDynamicInfo* SmartDataGetter::parseCacheToIMessage(const SmartDataCollection& collection, Arena& arena)
{
    auto* message = NewMessage<datatypes::SmartDynamicInfo>(arena);
    auto& to = *message;
    const auto& from = collection;
    to.set_name(DefaultToUtf8(from.name));
    to.set_allocated_raw_read_error_rate(Attribute<1>(from, arena));
    to.set_allocated_spin_up_time(Attribute<3>(from, arena));
    to.set_allocated_start_stop_count(Attribute<4>(from, arena));
    to.set_allocated_realloc_sector_count(Attribute<5>(from, arena));
    to.set_allocated_seek_error_rate(Attribute<7>(from, arena));
    to.set_allocated_power_on_hour(Attribute<9>(from, arena));
    to.set_allocated_spin_retry_count(Attribute<10>(from, arena));
    to.set_allocated_recalibration_retries(Attribute<11>(from, arena));
    to.set_allocated_power_cycle_count(Attribute<12>(from, arena));
    to.set_allocated_program_fail_count(Attribute<175>(from, arena));
    to.set_allocated_erase_fail_count(Attribute<176>(from, arena));
    to.set_allocated_wear_leveling_count(Attribute<177>(from, arena));
    to.set_allocated_used_reserved_block_count(Attribute<178>(from, arena));
    to.set_allocated_used_reserved_block_count_total(Attribute<179>(from, arena));
    to.set_allocated_unused_reserved_block_count(Attribute<180>(from, arena));
    to.set_allocated_program_fail_count_total(Attribute<181>(from, arena));
    to.set_allocated_erase_fail_count_total(Attribute<182>(from, arena));
    to.set_allocated_uncorrectable_error_count(Attribute<184>(from, arena));
    to.set_allocated_shock_event(Attribute<191>(from, arena));
    to.set_allocated_emergency_retract_count(Attribute<192>(from, arena));
    to.set_allocated_load_unload_cycle_count(Attribute<193>(from, arena));
    to.set_allocated_temperature(Attribute<194>(from, arena));
    to.set_allocated_ecc_rate(Attribute<195>(from, arena));
    to.set_allocated_reallocation_event_count(Attribute<196>(from, arena));
    to.set_allocated_current_pending_sector_count(Attribute<197>(from, arena));
    to.set_allocated_uncorrectable_sector_count(Attribute<198>(from, arena));
    to.set_allocated_crc_error_count(Attribute<199>(from, arena));
    to.set_allocated_write_error_rate(Attribute<200>(from, arena));
    to.set_allocated_program_erase_cycle_count(Attribute<238>(from, arena));
    to.set_allocated_head_flying_hours(Attribute<240>(from, arena));
    // Intentional: read before written, though its id is the higher one.
    to.set_allocated_total_blocks_read(Attribute<242>(from, arena));
    to.set_allocated_total_blocks_written(Attribute<241>(from, arena));
    to.set_allocated_free_fall_count(Attribute<254>(from, arena));
    return message;
}

template <>
datatypes::SmartStaticInfo* SmartDataGetter::parseCacheToIMessage(const SmartDataCollection& collection, Arena& arena)
{
    auto* message = NewMessage<datatypes::SmartStaticInfo>(arena);
    message->set_name(DefaultToUtf8(collection.name));
    if (collection.modelName) {
        message->set_model_name(DefaultToUtf8(*collection.modelName));  // Intentional: with the drive's padding
    }
    if (collection.eppid) {
        message->set_eppid(DefaultToUtf8(StorageHelper::Trim(*collection.eppid)));
    }
    return message;
}

}  // namespace Veyra::Orbis::Plugins
