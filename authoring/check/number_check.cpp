#include "authoring/check/number_check.h"

#include <cmath>
#include <cstring>
#include <span>
#include <string>

#include "authoring/document/parameter_fields.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

// Finds the faults of one block.
class NumberCheck {
  public:
    NumberCheck(const QuorvelAudioBlock& block, std::size_t blockPosition,
                std::vector<ChainFault>& found)
        : bytes(block.data, block.dataSize), position(blockPosition), faults(found) {}

    void Check(const RecordLayout& record, std::size_t base, const std::string& prefix) {
        for (const Field& field : record.fields) {
            const std::size_t place = base + field.offset;
            const std::string name = prefix + (field.name ? field.name : "");
            if (field.kind == FieldKind::kFloat32) CheckNumber(place, name);
            if (field.kind == FieldKind::kRecord) Check(*field.item, place, name + ".");
            if (field.kind == FieldKind::kArray) CheckArray(field, place, name);
        }
    }

  private:
    void CheckArray(const Field& field, std::size_t place, const std::string& name) {
        const auto count = static_cast<std::size_t>(field.maximum);
        for (std::size_t i = 0; i < count; ++i)
            Check(*field.item, place + i * field.item->size, name + " " + std::to_string(i + 1));
    }

    void CheckNumber(std::size_t place, const std::string& name) {
        float number = 0.0f;
        if (place + sizeof(number) > bytes.size()) return;
        std::memcpy(&number, bytes.data() + place, sizeof(number));
        if (std::isfinite(number)) return;
        faults.push_back({name + " is not a finite number: nor is what comes out",
                          "give it as a number in parameters",
                          position,
                          {}});
    }

    std::span<const std::uint8_t> bytes;
    std::size_t position;
    std::vector<ChainFault>& faults;
};

}  // namespace

std::vector<ChainFault> FindNumberFaults(const QuorvelAudioBlocksChain& chain) {
    std::vector<ChainFault> faults;
    for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chain.blocks.Item(i);
        const BlockFields* const fields = FindBlockFields(block.typeId);
        if (fields && block.data) NumberCheck(block, i, faults).Check(fields->record, 0, "");
    }
    return faults;
}

}  // namespace quorvel::tool
