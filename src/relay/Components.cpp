#include "Kv_Relay/Components.h"

namespace kv::relay {

namespace {
// a = 1∠120° and a² = 1∠240°, exact to the last bit of √3/2.
constexpr Complex kA(-0.5, 0.8660254037844386);
constexpr Complex kA2(-0.5, -0.8660254037844386);
}  // namespace

SequenceComponents Symmetrical(const ThreePhase& p) {
    const Complex a = p.a.Value(), b = p.b.Value(), c = p.c.Value();
    return {Phasor((a + kA * b + kA2 * c) / 3.0), Phasor((a + kA2 * b + kA * c) / 3.0), Phasor((a + b + c) / 3.0)};
}

ThreePhase LineValues(const ThreePhase& p) {
    return {Phasor(p.a.Value() - p.b.Value()), Phasor(p.b.Value() - p.c.Value()), Phasor(p.c.Value() - p.a.Value())};
}

}  // namespace kv::relay
