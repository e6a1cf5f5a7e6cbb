// Callbacks of the standard nodes for colors.

#include "kelvo/sdk/impl/standard/standard_callbacks.h"
#include "kelvo/sdk/impl/standard/standard_eval.h"

#include <algorithm>
#include <cmath>

namespace qv::kelvo_sdk::impl {

namespace {

using math::Rgbad;

struct Blend {
    const char* name;
    double (*channel)(double below, double above);
};

constexpr Blend kBlends[] = {
    {"mix", [](double, double above) { return above; }},
    {"add", [](double below, double above) { return below + above; }},
    {"multiply", [](double below, double above) { return below * above; }},
    {"screen", [](double below, double above) { return 1.0 - (1.0 - below) * (1.0 - above); }},
};

Rgbad blended(const Blend& blend, const Rgbad& a, const Rgbad& b, double amount) {
    Rgbad result;
    for (u64 i = 0; i < 3; ++i)
        result[i] = a[i] * (1.0 - amount) + blend.channel(a[i], b[i]) * amount;
    result[3] = a[3] * (1.0 - amount) + b[3] * amount;
    return result;
}

bool evalMixColor(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const StandardNames& names = standardNames();
    const auto a = eval.get<Rgbad>(names.a);
    const auto b = eval.get<Rgbad>(names.b);
    const double amount = eval.real(names.amount);
    const auto mode = eval.get<String>(names.mode);
    for (const Blend& blend : kBlends) {
        if (mode == blend.name) return eval.give(blended(blend, a, b, amount));
    }
    return eval.refuseChoice(names.mode, mode);
}

bool evalGamma(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    auto color = eval.get<Rgbad>(standardNames().color);
    const double gamma = eval.real(standardNames().gamma);
    if (!(gamma > 0.0)) return eval.give(color);
    for (u64 i = 0; i < 3; ++i)
        color[i] = color[i] > 0.0 ? std::pow(color[i], 1.0 / gamma) : 0.0;
    return eval.give(color);
}

// Weighs linear red, green and blue by the brightness that the eye perceives.
bool evalLuminance(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const auto color = eval.get<Rgbad>(standardNames().color);
    return eval.give(0.2126 * color[0] + 0.7152 * color[1] + 0.0722 * color[2]);
}

Rgbad fromHsv(double hue, double saturation, double brightness, double alpha) {
    if (!std::isfinite(hue)) hue = 0.0;
    saturation = saturation > 0.0 ? std::min(saturation, 1.0) : 0.0;
    const double sixths = (hue - std::floor(hue)) * 6.0;
    const double part = sixths - std::floor(sixths);
    const double low = brightness * (1.0 - saturation);
    const double falling = brightness * (1.0 - saturation * part);
    const double rising = brightness * (1.0 - saturation * (1.0 - part));
    // A hue just below a whole turn rounds up to one: sector 6 is sector 0.
    switch (static_cast<u32>(sixths) % 6) {
    case 0:
        return {{brightness, rising, low, alpha}};
    case 1:
        return {{falling, brightness, low, alpha}};
    case 2:
        return {{low, brightness, rising, alpha}};
    case 3:
        return {{low, falling, brightness, alpha}};
    case 4:
        return {{rising, low, brightness, alpha}};
    default:
        return {{brightness, low, falling, alpha}};
    }
}

bool evalHsvToRgb(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const StandardNames& names = standardNames();
    const double hue = eval.real(names.hue);
    const double saturation = eval.real(names.saturation);
    const double brightness = eval.real(names.brightness);
    return eval.give(fromHsv(hue, saturation, brightness, eval.real(names.alpha)));
}

// Returns the hue in turns, from 0 to below 1; grey has hue 0.
double hueOf(const Rgbad& c, double most, double range) {
    if (range == 0.0) return 0.0;
    double sixths = 0.0;
    if (most == c[0])
        sixths = (c[1] - c[2]) / range;
    else if (most == c[1])
        sixths = (c[2] - c[0]) / range + 2.0;
    else
        sixths = (c[0] - c[1]) / range + 4.0;
    const double turns = sixths < 0.0 ? sixths / 6.0 + 1.0 : sixths / 6.0;
    return turns < 1.0 ? turns : 0.0;
}

bool evalRgbToHsv(EvalCtx* ctx, void* out) {
    StandardEval eval(ctx, out);
    const StandardNames& names = standardNames();
    auto color = eval.get<Rgbad>(names.color);
    for (u64 i = 0; i < 3; ++i)
        color[i] = color[i] > 0.0 ? color[i] : 0.0;
    const double most = std::max({color[0], color[1], color[2]});
    const double range = most - std::min({color[0], color[1], color[2]});
    if (eval.asks(names.hue)) return eval.give(names.hue, hueOf(color, most, range));
    if (eval.asks(names.saturation))
        return eval.give(names.saturation, most > 0.0 ? range / most : 0.0);
    if (eval.asks(names.brightness)) return eval.give(names.brightness, most);
    return eval.give(names.alpha, color[3]);
}

} // namespace

void addColorCallbacks(LibInfo& library) {
    addEvaluation(library, "mixColor", evalMixColor);
    addEvaluation(library, "gamma", evalGamma);
    addEvaluation(library, "luminance", evalLuminance);
    addEvaluation(library, "hsvToRgb", evalHsvToRgb);
    addEvaluation(library, "rgbToHsv", evalRgbToHsv);
}

} // namespace qv::kelvo_sdk::impl
