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

AnswerStore::AnswerStore()
{
    const Supervised* const supervised = Supervised::Get();
    if (supervised == nullptr) {
        return;
    }
    for (const LastAnswer& answer : supervised->Task().last()) {
        const std::chrono::duration<double> age(answer.seconds_ago() + supervised->SecondsSinceStart());
        m_Kept[{answer.item().datatype(), answer.item().item_id()}] = {
            answer, Clock::now() - std::chrono::duration_cast<Clock::duration>(age)};
    }
}

void AnswerStore::Keep(const std::vector<LastAnswer>& answers)
{
    for (const LastAnswer& answer : answers) {
        m_Kept[{answer.item().datatype(), answer.item().item_id()}] = {answer, Clock::now()};
    }
}

std::optional<double> AnswerStore::AddAnswersOf(std::uint32_t number, std::vector<CollectedDatatype>& results,
                                                Collector& collector) const
{
    std::optional<double> age;
    for (const auto& [key, kept] : m_Kept) {
        const LastAnswer& answer = kept.answer;
        const auto result = std::find_if(results.begin(), results.end(),
                                         [&](const CollectedDatatype& one) { return one.datatype == answer.item().datatype(); });
        const std::string& type = answer.item().data().type_url();
        auto message = NewMessage(type.substr(type.rfind('/') + 1));
        if (answer.number() != number || result == results.end() || message == nullptr ||
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
        age = std::chrono::duration<double>(Clock::now() - kept.time).count();
    }
    return age;
}

std::string AnswerStore::AddTo(std::vector<CollectedDatatype>& results, Collector& collector, const MachineInForce& machine) const
{
    std::map<std::uint32_t, const char*> states;
    for (const Disk& disk : machine.Asleep()) {
        states[*disk.number] = "asleep";
    }
    for (const insight::HiddenDisk& disk : machine.Hidden()) {
        if (disk.number) {
            states[*disk.number] = "no answer";
        }
    }
    std::string text;
    for (const auto& [number, state] : states) {
        const auto age = AddAnswersOf(number, results, collector);
        text += fmt::format("DISK{}: {}; {}\n", number, state,
                            age ? fmt::format("its last answer, {:.0f} s old, is shown", *age) : "it has not answered before");
    }
    return text;
}

}  // namespace orbis::host
