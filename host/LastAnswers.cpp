#include "LastAnswers.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

#include "Supervised.h"

namespace orbis::host {

std::vector<LastAnswer> AnswersOf(const std::vector<CollectedDatatype>& results, const Disks& disks)
{
    std::vector<LastAnswer> answers;
    for (const CollectedDatatype& result : results) {
        for (const Collected& item : result.items) {
            const Disk* const disk = disks.Find(item.itemId);
            if (item.message == nullptr || disk == nullptr || !disk->number) {
                continue;
            }
            LastAnswer& answer = answers.emplace_back();
            answer.mutable_item()->set_datatype(result.datatype);
            answer.mutable_item()->set_item_id(item.itemId);
            answer.mutable_item()->mutable_data()->PackFrom(*item.message);
            answer.set_time(std::chrono::duration_cast<std::chrono::nanoseconds>(item.time.time_since_epoch()).count());
            answer.set_number(*disk->number);
            answer.set_model(disk->model);
        }
    }
    return answers;
}

std::string AddLastAnswers(std::vector<CollectedDatatype>& results, Collector& collector, const MachineInForce& machine)
{
    const Supervised* const supervised = Supervised::Get();
    std::map<std::uint32_t, double> ages;
    for (const insight::HiddenDisk& disk : supervised != nullptr ? machine.Hidden() : std::vector<insight::HiddenDisk>{}) {
        for (const LastAnswer& answer : supervised->Task().last()) {
            const auto result = std::find_if(results.begin(), results.end(), [&](const CollectedDatatype& one) {
                return one.datatype == answer.item().datatype();
            });
            const std::string& type = answer.item().data().type_url();
            auto message = NewMessage(type.substr(type.rfind('/') + 1));
            if (!disk.number || answer.number() != *disk.number || result == results.end() || message == nullptr ||
                !answer.item().data().UnpackTo(message.get())) {
                continue;
            }
            Disk known;
            known.itemId = answer.item().item_id();
            known.number = answer.number();
            known.model = answer.model();
            collector.Learn(known);
            const std::chrono::nanoseconds sinceEpoch(answer.time());
            result->items.push_back(
                {known.itemId,
                 std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceEpoch)),
                 std::move(message)});
            ages[*disk.number] = answer.seconds_ago() + supervised->SecondsSinceStart();
        }
    }
    std::string text;
    for (const auto& [number, age] : ages) {
        text += fmt::format("DISK{}: no answer; its last one, {:.0f} s old, is shown\n", number, age);
    }
    return text;
}

}  // namespace orbis::host
