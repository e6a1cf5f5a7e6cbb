#pragma once

#include "kelvo/sdk/impl/graph/node.h"
#include "kelvo/sdk/interfaces/conversion_loss.h"

#include <utility>
#include <vector>

namespace qv::kelvo_sdk::impl {

class Scene;

using interfaces::ConversionLosses;

/// Fills the replacement of a node that is converted to another type, and notes what does not fit.
///
/// Attributes beyond the old type's definition are carried over whole, and so is everything when
/// the new type is unknown. Dropping a value at its default is no loss.
class NodeConverter {
public:
    /// `definition` is that of the node's old type, null when it is not known.
    NodeConverter(Scene& scene, Node& from, Node& to, const Node* definition, bool isNewTypeKnown)
        : m_scene(scene),
          m_from(from),
          m_to(to),
          m_definition(definition),
          m_keepsAll(!isNewTypeKnown) {}

    /// Carries values and incoming connections over; the node stays as it is.
    void fill();
    /// Lets what is connected to the node's outputs read those of the replacement, which is in the
    /// scene by now.
    void moveTargets();
    void moveComments() const;

    [[nodiscard]] ConversionLosses& losses() noexcept { return m_losses; }

private:
    struct Step {
        const Input* from;
        Input* to;
        // The input in the definition of the node's old type, null when there is none.
        const Input* definition;
        // Made here, so that it takes what is read-only as well.
        bool isCopy;
    };

    void fillInputs();
    void fillOutputs();
    void convert(const Step& step);
    void convertMembers(const Step& step);
    void convertElements(const Step& step);
    void makeElements(const Step& step);
    void convertValue(const Step& step);
    void connect(const Input& from, Input& to);
    [[nodiscard]] AttrData description(const Input& from) const;
    [[nodiscard]] Value userValue(const Input& from) const;
    [[nodiscard]] Value converted(const Value& value, const Input& to) const;
    void lose(const Input& from, String reason);
    void note(String path, String reason);

    Scene& m_scene;
    Node& m_from;
    Node& m_to;
    const Node* m_definition;
    bool m_keepsAll;
    ConversionLosses m_losses;
    std::vector<Step> m_pending;
    std::vector<std::pair<const Input*, const Input*>> m_inputs;
    // The second is null for an output that the new type lacks.
    std::vector<std::pair<Output*, Output*>> m_outputs;
};

} // namespace qv::kelvo_sdk::impl
