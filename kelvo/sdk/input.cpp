#include "kelvo/sdk/input.h"

#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/node.h"

namespace qv::kelvo_sdk {

String Input::asString(bool evaluate, EvalCtx* ctx) const {
    String text;
    if (get()) get()->readString(text, evaluate, ctx);
    return text;
}

Node Input::asNode(bool evaluate, EvalCtx* ctx) const {
    interfaces::INode* node = nullptr;
    if (get()) get()->readNode(node, evaluate, ctx);
    return Node(node);
}

Node Input::asNode(EvalCtx* ctx) const {
    return asNode(true, ctx);
}

Input Input::input(u64 index) const {
    return get() ? Input(get()->input(index)) : Input();
}

Input Input::parent() const {
    return get() ? Input(get()->parent()) : Input();
}

ds::Vector<Input> Input::inputs() const {
    ds::Vector<Input> all;
    for (u64 i = 0; i < inputCount(); ++i)
        all.push_back(input(i));
    return all;
}

Input Output::evaluate(EvalCtx* ctx) const {
    return Input(evaluated(ctx).get());
}

Input Output::target(u64 index) const {
    return get() ? Input(get()->target(index)) : Input();
}

} // namespace qv::kelvo_sdk
