#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Collector.h"
#include "Disks.h"
#include "Formats.h"
#include "insight/Evidence.h"
#include "insight/Health.h"

namespace orbis::host {

// A document in the text format of Prometheus, version 0.0.4: families of series, each with its help and type.
class MetricsText {
public:
    using Labels = std::vector<std::pair<std::string, std::string>>;
    struct Family {
        std::string_view name;  // a counter's ends in _total
        std::string_view help;
    };

    // Adds a sample. `value` is a number as text, so that integers of any size stay exact. A second sample of the same series, for
    // instance of two disks that share an id, is left out, because Prometheus would reject the whole scrape.
    void Add(const Family& family, Labels labels, std::string value);
    [[nodiscard]] std::string Text() const;

private:
    struct Samples {
        std::string head;
        std::string lines;
    };
    std::vector<std::string> m_Order;
    std::map<std::string, Samples, std::less<>> m_Families;
    std::set<std::string> m_Series;
};

// The input of the metrics.
struct MetricsSource {
    const std::vector<CollectedDatatype>& results;
    const Disks& disks;
    const std::map<std::string, Collection>& collections;
    const std::vector<Finding>& findings;
    const std::vector<insight::DiskEvidence>& evidence;  // raw bytes, for counters that no datatype carries
    const insight::HealthReport& health;
};

// The collected data as metrics: values in base units; missing values are absent.
[[nodiscard]] std::string RenderMetrics(const MetricsSource& source);

// A little-endian number of any size times `factor`, in decimal.
[[nodiscard]] std::string Decimal(std::string_view littleEndian, std::uint32_t factor);

}  // namespace orbis::host
