#pragma once

#include <google/protobuf/message.h>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "insight/Calls.h"
#include "insight/Export.h"
#include "orbis/insight/explanation.pb.h"
#include "orbis/insight/sources.pb.h"

// Where each value of a message came from, and why one is missing.
namespace orbis::insight {

// The table of sources, parsed at the first call. The rows are by "Message.field".
[[nodiscard]] ORBIS_INSIGHT_EXPORT const SourceTable& Sources();
// The row of a field, or null. `field` is the name in the schema: "NvmeHealthInfo.available_spare".
[[nodiscard]] ORBIS_INSIGHT_EXPORT const FieldSource* SourceOf(std::string_view field);
// "NVMe log 02h bytes 160-175", "Win32_DiskDrive.Model"; several places are separated by ", else ", or by " and " if all of them
// count. Bytes count from `base` if the message is an element of the answer, and from the entry of `attribute` (0: none) in a SMART
// page.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string PlaceText(const FieldSource& source, std::uint32_t base = 0,
                                                         std::uint32_t attribute = 0);
// The name of a request in texts for people.
[[nodiscard]] ORBIS_INSIGHT_EXPORT std::string PageName(Request request);

// Explains messages of one pass of the collections.
class ORBIS_INSIGHT_EXPORT Explainer {
public:
    class Observations;

    // `records` are the calls of the pass; they are only used here.
    explicit Explainer(std::span<const Record> records);
    ~Explainer();
    Explainer(const Explainer&) = delete;
    Explainer& operator=(const Explainer&) = delete;

    // `itemId`: "Disk_" and a PnP device id.
    [[nodiscard]] MessageExplanation Explain(const google::protobuf::Message& message, std::string_view itemId) const;
    // The disks of the inventory for which the pass sent no message of a datatype ("SmartNvmeInfo"), each with the reason. `sent`
    // are the item ids of its messages.
    [[nodiscard]] std::vector<MessageExplanation> ExplainUnsent(std::string_view datatype, const std::set<std::string>& sent) const;

private:
    std::unique_ptr<Observations> m_Observations;
};

}  // namespace orbis::insight
