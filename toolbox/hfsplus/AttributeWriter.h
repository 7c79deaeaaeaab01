#pragma once

#include "hfsplus/BTreeBuilder.h"
#include "hfsplus/ContentPlan.h"
#include "hfsplus/VolumeLayout.h"

namespace hfsplus {

/// Makes the records of the attributes tree for a planned volume and hands them to it in its
/// order. Usable for measuring like CatalogWriter.
class AttributeWriter {
public:
    AttributeWriter(const ContentPlan& plan, const VolumeLayout& layout);

    /// False when nothing has attributes: such a volume needs no tree.
    bool hasAttributes() const;
    void writeTo(BTreeBuilder& tree) const;

private:
    /// The attributes of one object, for the file that carries its content.
    void writeObject(BTreeBuilder& tree, uint32_t index, CatalogID id) const;

    const ContentPlan& m_plan;
    const VolumeLayout& m_layout;
};

} // namespace hfsplus
