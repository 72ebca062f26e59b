#include <cstddef>
#include <cstring>

#include "Kv_Data/ThreePhase.h"

namespace kv {

static_assert(sizeof(CValueIU) == 24 * sizeof(double), "CValueIU is 24 doubles and nothing else");

namespace {

bool IsPhase(int n) { return n >= 0 && n <= 2; }

std::size_t Phase(int n) { return static_cast<std::size_t>(n); }

}  // namespace

CValueIU::CValueIU(double iA, double iB, double iC, double fiIA, double fiIB, double fiIC,
                   double uA, double uB, double uC, double fiUA, double fiUB, double fiUC) {
    SetValueIU(iA, iB, iC, fiIA, fiIB, fiIC, uA, uB, uC, fiUA, fiUB, fiUC);
}

CValueIU::CValueIU(const double* p) {
    dU[0] = p[0];
    dFiU[0] = p[1];
    dU[1] = p[2];
    dFiU[1] = p[3];
    dU[2] = p[4];
    dFiU[2] = p[5];
    dI[0] = p[6];
    dFiI[0] = p[7];
    dI[1] = p[8];
    dFiI[1] = p[9];
    dI[2] = p[10];
    dFiI[2] = p[11];
}

// The target's sequence block stays as it was: callers keep components in it across
// assignments of phase values.
CValueIU& CValueIU::operator=(const CValueIU& v) {
    if (this == &v) return *this;
    std::memcpy(dI, v.dI, sizeof dI);
    std::memcpy(dFiI, v.dFiI, sizeof dFiI);
    std::memcpy(dU, v.dU, sizeof dU);
    std::memcpy(dFiU, v.dFiU, sizeof dFiU);
    return *this;
}

void CValueIU::SetValueIU(double iA, double iB, double iC, double fiIA, double fiIB, double fiIC,
                          double uA, double uB, double uC, double fiUA, double fiUB, double fiUC) {
    dI[0] = iA;
    dI[1] = iB;
    dI[2] = iC;
    dFiI[0] = fiIA;
    dFiI[1] = fiIB;
    dFiI[2] = fiIC;
    dU[0] = uA;
    dU[1] = uB;
    dU[2] = uC;
    dFiU[0] = fiUA;
    dFiU[1] = fiUB;
    dFiU[2] = fiUC;
}

double CValueIU::GetI(int n) const { return IsPhase(n) ? dI[Phase(n)] : -1.0; }

double CValueIU::GetFiI(int n) const { return IsPhase(n) ? dFiI[Phase(n)] : -1.0; }

double CValueIU::GetU(int n) const { return IsPhase(n) ? dU[Phase(n)] : -1.0; }

double CValueIU::GetFiU(int n) const { return IsPhase(n) ? dFiU[Phase(n)] : -1.0; }

double CValueIU::GetUI(int n) const {
    if (IsPhase(n)) return dI[Phase(n)];
    if (n >= 3 && n <= 5) return dU[Phase(n) - 3];
    return -1.0;
}

double CValueIU::GetFUI(int n) const {
    if (IsPhase(n)) return dFiI[Phase(n)];
    if (n >= 3 && n <= 5) return dFiU[Phase(n) - 3];
    return -1.0;
}

}  // namespace kv
