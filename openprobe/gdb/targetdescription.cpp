#include "targetdescription.h"

#include <pugixml.hpp>

#include <algorithm>
#include <string_view>
#include <vector>

namespace OpenProbe {
namespace {

constexpr std::size_t kMaxDocuments = 8;
constexpr std::string_view kArmMFeature = "org.gnu.gdb.arm.m-profile";

/// Collects what counts of one document: the feature looked for, and the names of included ones.
class Collector : public pugi::xml_tree_walker {
public:
    bool for_each(pugi::xml_node &node) override
    {
        const std::string_view name = node.name();
        if (name == "feature" && node.attribute("name").value() == kArmMFeature)
            isArmM = true;
        else if (name == "xi:include")
            included.emplace_back(node.attribute("href").value());
        return !isArmM;
    }

    bool isArmM = false;
    std::vector<std::string> included;
};

} // namespace

TargetDescription ReadTargetDescription(const DocumentReader &reader)
{
    std::vector<std::string> names = {"target.xml"};
    Collector collector;
    for (std::size_t i = 0; i < std::min(names.size(), kMaxDocuments); ++i) {
        const std::string text = reader(names[i]);
        pugi::xml_document document;
        if (text.size() > kMaxDescriptionBytes
            || !document.load_buffer(text.data(), text.size(), pugi::parse_minimal))
            break;
        document.traverse(collector);
        if (collector.isArmM)
            break;
        for (std::string &name : collector.included)
            names.push_back(std::move(name));
        collector.included.clear();
    }
    return {collector.isArmM};
}

} // namespace OpenProbe
