#pragma once

#include <string>

#include "RecordingLog.h"

// Log lines of the two NVMe collections. All of a collection's lines carry its retriever's file.
namespace orbis::tests {

inline fakes::LogLine IdentifyGetter(const std::string& text)
{
    return {"Debug", text, "Plugins\\StorageCollector\\NvmeIdentifyControllerDataRetriever",
            "Veyra::Orbis::Plugins::NvmeDataGetter::GetIdentifyControllerData"};
}

inline fakes::LogLine IdentifyRetriever(const std::string& level, const std::string& text)
{
    return {level, text, "Plugins\\StorageCollector\\NvmeIdentifyControllerDataRetriever",
            "Veyra::Orbis::Plugins::NvmeIdentifyControllerDataRetriever::CollectData"};
}

inline fakes::LogLine HealthGetter(const std::string& text)
{
    return {"Debug", text, "Plugins\\StorageCollector\\SmartNvmeInfoRetriever",
            "Veyra::Orbis::Plugins::NvmeDataGetter::GetNvmeHealthData"};
}

inline fakes::LogLine HealthRetriever(const std::string& level, const std::string& text)
{
    return {level, text, "Plugins\\StorageCollector\\SmartNvmeInfoRetriever",
            "Veyra::Orbis::Plugins::SmartNvmeInfoRetriever::CollectData"};
}

}  // namespace orbis::tests
