#include "kelvo/sdk/impl/validate/live_source.h"

#include "kelvo/base/walk_all.h"
#include "kelvo/sdk/impl/value/value_text.h"

#include <algorithm>
#include <utility>

namespace qv::kelvo_sdk::impl {

namespace {

// Returns a fix that calls `apply`, which returns whether it changed anything.
template<typename Apply>
RefersTo<FindingFix> makeFix(String text, Apply apply) {
    class Made final : public FindingFix {
    public:
        Made(String what, Apply how) : FindingFix(std::move(what)), m_apply(std::move(how)) {}
        Result apply() override {
            if (m_apply()) return {};
            return Result::failure("Cannot " + text() +
                                   ": there is nothing left to fix, or the scene refuses it.");
        }

    private:
        Apply m_apply;
    };
    return RefersTo<FindingFix>::adopt(new Made(std::move(text), std::move(apply)));
}

// Casts const away: the scene is there to be edited, while of a definition only the reference count
// changes.
template<typename Thing>
RefersTo<Thing> hold(const Thing* thing) {
    return RefersTo<Thing>(const_cast<Thing*>(thing));
}

// Creates the definition's members, at any depth, in the new input `made`; without recursion.
void copyMembers(const Input& definition, Input& made) {
    walkAll(std::pair(&definition, &made), [](const auto& step, const auto& add) {
        for (const IInput* next : step.first->members()) {
            const auto& known = implOf(*next);
            auto* member = implOf(step.second->createInput(known.name(), known.description()));
            if (!member) continue;
            if (!known.value().isNull()) member->setValue(known.value());
            if (!known.members().empty()) add({&known, member});
        }
    });
}

} // namespace

bool LiveSource::isUsed(Node node) const {
    const auto isRead = [](const interfaces::IOutput* output) {
        return output->targetCount() != 0;
    };
    return std::ranges::any_of(node->outputs(), isRead) || m_scene.links().first(node);
}

interfaces::BufferView LiveSource::bufferOf(Input input) {
    interfaces::BufferView view;
    if (input->type() == AttrType::Buffer) input->readBuffer(view, false, nullptr);
    return view;
}

bool LiveSource::hasOtherValue(Input input, const impl::Input& definition) {
    const Value& value = input->ownValue();
    return !value.isNull() && !(value == definition.value());
}

String LiveSource::shownValue(Input input) {
    StringIO text;
    writeValue(input->ownValue(), text);
    return text.take();
}

// ---- Fixes -----------------------------------------------------------------------------

LiveSource::Fix LiveSource::removal(String text, Input element) {
    return makeFix(std::move(text), [held = hold(element)] {
        IInput* array = held->parent();
        return array && array->removeInput(held->name());
    });
}

LiveSource::Fix LiveSource::setting(String text, Input input, const Value& value) {
    return makeFix(std::move(text),
                   [held = hold(input), value] { return held->node() && held->setValue(value); });
}

LiveSource::Fix LiveSource::settingBack(String text, Input input, const impl::Input& definition) {
    return makeFix(std::move(text), [held = hold(input), known = hold(&definition)] {
        return held->node() && held->setReadOnlyValue(known->value());
    });
}

LiveSource::Fix LiveSource::addition(String text, const impl::Input& definition, Node node,
                                     Input parent) {
    return makeFix(std::move(text),
                   [known = hold(&definition), held = hold(node), inside = hold(parent)] {
                       const String name = known->name();
                       if (inside ? inside->lookUpInput(name) : held->lookUpInput(name))
                           return false;
                       IInput* made = inside ? inside->createInput(name, known->description())
                                             : held->createInput(name, known->description());
                       if (made) copyMembers(*known, *implOf(made));
                       return made != nullptr;
                   });
}

LiveSource::Fix LiveSource::addition(String text, const impl::Output& definition, Node node) {
    return makeFix(std::move(text), [known = hold(&definition), held = hold(node)] {
        if (held->lookUpOutput(known->ownName())) return false;
        if (known->type() == AttrType::Buffer)
            return held->createOutput(known->ownName(), known->dataType()) != nullptr;
        return held->createOutput(known->ownName(), known->type()) != nullptr;
    });
}

LiveSource::Fix LiveSource::clearing(impl::Input& input) {
    return makeFix("clear the link '" + input.path() + "'",
                   [held = hold(&input)] { return held->setNode(nullptr); });
}

LiveSource::Fix LiveSource::disconnection(impl::Input& input) {
    return makeFix("disconnect '" + input.path() + "'",
                   [held = hold(&input)] { return held->disconnect(); });
}

} // namespace qv::kelvo_sdk::impl
