#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "Collector.h"
#include "Commands.h"
#include "LastAnswers.h"
#include "MachineInForce.h"
#include "PluginFile.h"
#include "Say.h"
#include "Supervised.h"
#include "Terminal.h"
#include "platform/Time.h"
#include "views/LiveView.h"

namespace orbis::host {
namespace {

// The datatype with a live view, which needs two samples.
constexpr std::string_view kActivity = "PhysicalDiskDynamicInfo";

bool IsActivity(const border::Operation& operation) { return ShortName(operation.datatype) == kActivity; }

// One pass of a watch of the activity: a live view with its history.
std::string RenderLive(const std::vector<CollectedDatatype>& results, LiveView& live, const Disks& disks, const Style& style)
{
    std::string out;
    for (const CollectedDatatype& result : results) {
        ViewItems<datatypes::PhysicalDiskDynamicInfo> items;
        for (const Collected& item : result.items) {
            items.push_back({item.itemId, static_cast<const datatypes::PhysicalDiskDynamicInfo*>(item.message.get())});
        }
        live.Add(items);
        out += live.Render(disks, style);
    }
    return out;
}

const std::string kHideCursor = "\x1B[?25l";
const std::string kClearScreen = "\x1B[H\x1B[2J";

// Redraws in place: each line clears the rest of its row, and everything below the last line is cleared.
std::string Redrawn(const std::string& text)
{
    std::string redrawn = "\x1B[H";
    for (const char letter : text) {
        redrawn += letter == '\n' ? std::string("\x1B[K\n") : std::string(1, letter);
    }
    return redrawn + "\x1B[J";
}

}  // namespace

int Collect(const CollectOptions& options, Output& output)
{
    // Installed before the plug-in is loaded, and kept until its object has been destroyed.
    MachineInForce machine(options.source.machine, options.source.skipSleeping.value_or(false));
    Collector collector(machine, options.source.plugin, options.source.logLevel);
    const std::vector<border::Operation> operations = collector.Choose(options.datatypes);

    const bool isWatch = options.watchSeconds > 0;
    const bool isLive = isWatch && options.format == Format::Table && operations.size() == 1 && IsActivity(operations.front());
    const bool isRedrawn = isLive && output.GetStyle().canRedraw;
    // A supervised watch is ended by its supervisor; earlier processes may have shown passes already.
    Supervised* const supervised = isWatch ? Supervised::Get() : nullptr;
    std::uint32_t shown = supervised != nullptr ? supervised->Task().passes() : 0;
    if (isWatch && supervised == nullptr) {
        InterruptWaits();
    }
    if (isRedrawn && supervised == nullptr) {  // a supervised process writes nothing before it has collected
        output.Write(kHideCursor + kClearScreen);
    }
    collector.LetRatesBuildUp(operations);

    int status = kExitOk;
    LiveView live;
    AnswerStore store;
    std::set<std::uint32_t> told;  // disks that were reported as asleep
    std::vector<std::string> selected;
    for (std::uint32_t pass = 1; !IsInterrupted() && !output.IsLost(); ++pass) {
        if (supervised != nullptr && pass > 1) {
            supervised->BeginPass();
        }
        if (pass > 1 && machine.BeginPass()) {
            collector.Renew();
            collector.LetRatesBuildUp(operations);
        }
        std::vector<CollectedDatatype> results = collector.Collect(operations);
        const std::vector<LastAnswer> answers = isWatch ? AnswersOf(results, collector.KnownDisks()) : std::vector<LastAnswer>{};
        store.Keep(answers);
        const std::string late = isWatch && options.format == Format::Table ? store.AddTo(results, collector, machine) : "";
        for (const Disk& disk : isWatch&& options.format == Format::Table ? std::vector<Disk>{} : machine.Asleep()) {
            if (told.insert(*disk.number).second) {
                Say(fmt::format("DISK{} {}is asleep and left out; --no-skip-sleeping wakes it", *disk.number,
                                disk.model.empty() ? "" : disk.model + ' '));
            }
        }
        if (!options.source.disk.empty()) {
            if (pass == 1) {
                selected = collector.Select(options.source.disk);
            }
            Keep(results, selected);
        }
        Style style = output.GetStyle();
        style.width = style.width == 0 ? 0 : TerminalColumns();  // it may have changed
        if (options.format == Format::JsonLines) {
            collector.LearnIdentities(results);
        }
        const auto now = platform::Time::Current().UtcNow();
        std::string text;
        if (isWatch && options.format == Format::Table) {
            text = Rfc3339(now).substr(0, 19) + "Z\n";
        }
        if (!collector.ReportFindings().empty()) {
            status = Graver(status, kExitIncomplete);
        }
        const std::vector<Finding> findings = collector.CurrentFindings();
        text += isLive ? RenderLive(results, live, collector.KnownDisks(), style)
                       : Render(results, options.format, {collector.KnownDisks(), style, machine.Name(), now, findings});
        text += late;
        const std::string first = isRedrawn && supervised != nullptr ? kHideCursor + (shown == 0 ? kClearScreen : "") : "";
        output.Write(first + (isRedrawn ? Redrawn(text) : text));
        const bool isUnwanted = supervised != nullptr && supervised->IsUnwanted();
        shown = (supervised != nullptr ? supervised->Task().passes() : shown) + (isUnwanted ? 0 : 1);
        if (supervised != nullptr) {
            supervised->EndPass(collector.HasFailed() ? Graver(status, kExitCollectionFailed) : status, answers);
        }
        if (!isWatch || shown == options.count) {
            break;
        }
        if (!isUnwanted) {
            machine.Wait(options.watchSeconds);
        }
    }
    if (isRedrawn) {
        output.Write("\x1B[?25h");
    }
    return collector.HasFailed() ? Graver(status, kExitCollectionFailed) : status;
}

}  // namespace orbis::host
