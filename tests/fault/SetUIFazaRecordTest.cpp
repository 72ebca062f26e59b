// The seven-argument SetUIFaza: every code, both flags, across the branches of its frame
// against the model of FaultModel.h, hand-checked cases, and what the phasors mean.
#include "FaultModel.h"

#include "Kv_Data/ThreePhase.h"

namespace {

using namespace faultmodel;

class FaultRecord : public FaultSynthesis {};

Working RecordModel(int code, double u, double i, double phi) {
    Working w;
    w.phi = phi, w.U = u < 0 ? 0 : u, w.I = i < 0 ? 0 : i, w.Uh = kv::cst58V;
    w.r = w.I > kv::globImax ? 2 : 0;
    const bool exempt = code == 50 || code == 51 || (code >= 115 && code <= 117);
    if (code < 6) {
        if (w.U > kv::globUmax) w.U = w.Uh = kv::globUmax, w.r = 1;
        else if (w.U > kv::cst58V) w.Uh = w.U;
    } else if (!exempt) {
        if (w.U > kv::cst173V) w.U = w.Uh = w.Uf = kv::cst173V, w.r = 1;  // cst173V, whatever globUmax is
        else if (w.U > kv::cstUmax100) w.Uh = w.Uf = w.U / kR3;
        else Loop(w);
    }
    Patterns(w);
    return w;
}

// 'h' honours writeI and writeU, 'a' writes always; currents, then voltages.
struct Row { char flags = 'h'; std::string currents, voltages; };

const std::string kEarthA = "I@360-p 0@240-p 0@120-p", kEarthB = "0@360-p I@240-p 0@120-p",
                  kEarthC = "0@360-p 0@240-p I@120-p", kLoopAB = "I@30-p I@210-p 0@120-p",
                  kLoopBC = "0@360-p I@270-p I@90-p", kLoopCA = "I@330-p 0@240-p I@150-p",
                  kStar = "I@360-p I@240-p I@120-p", kFixed = "I@0 I@240 I@120",
                  kUp = "U@0! U@240! U@120!",
                  kC0 = "0@0! 0@0! U@0+p", kAB = "U@0+p U@180+p 0@0!", kA = "I@0 0@0 0@0",
                  kC = "0@0 0@0 I@0", kSupply = "Up/2@0! Up/2@180! U@0!";

const auto kRows = ByCode<Row>({
    {{3, 123}, {'h', kEarthA, "U@0! Uh@240! Uh@120!"}}, {{4}, {'h', kEarthB, "Uh@0! U@240! Uh@120!"}},
    {{5}, {'h', kEarthC, "Uh@0! Uh@240! U@120!"}}, {{21}, {'h', kEarthA, "U@0! 0@240! 0@120!"}},
    {{22}, {'h', kEarthB, "0@0! U@240! 0@120!"}}, {{23}, {'h', kEarthC, "0@0! 0@240! U@120!"}},
    {{6}, {'h', kLoopAB, "Uf@360-d Uf@240+d Uh@120!"}}, {{7}, {'h', kLoopBC, "Uh@0! Uf@240-d Uf@120+d"}},
    {{8}, {'h', kLoopCA, "Uf@0+d! Uh@240! Uf@120-d"}}, {{18}, {'h', kLoopAB, "Uf@360-d Uf@240+d 0@120!"}},
    {{19}, {'h', kLoopBC, "0@0! Uf@240-d Uf@120+d"}}, {{20}, {'h', kLoopCA, "Uf@0+d! 0@240! Uf@120-d"}},
    {{24}, {'h', kLoopAB, "U/2@0! U/2@0! U@180!"}}, {{25}, {'h', kLoopBC, "U@0! U/2@180! U/2@180!"}},
    {{26}, {'h', kLoopCA, "U/2@180! U@0! U/2@180!"}}, {{27}, {'h', kLoopAB, "U/r3@360! U/r3@240! Uh@120!"}},
    {{28}, {'h', kLoopBC, "Uh@0! U/r3@240! U/r3@120!"}}, {{29}, {'h', kLoopCA, "U/r3@0! Uh@240! U/r3@120!"}},
    {{9, 63, 64, 65}, {'h', kStar, kUp}}, {{17}, {'h', "1@360-p! I@240-p I@120-p", kUp}},
    {{16}, {'h', "I@360-p! I@120-p I@240-p", "U@0! U@120! U@240!"}},
    {{92, 122}, {'h', kStar, "U/r3@0! U/r3@240! U/r3@120!"}}, {{11, 12}, {'h', "I@0+p! I@0+p I@0+p", ""}},
    {{35}, {'h', "", "U@0+p U@120+p U@240+p"}}, {{36}, {'a', "", "Ux@420+s+p Ux@420-s+p N@240+p"}},
    {{37}, {'a', "", "N@0+p Ux@180+s+p Ux@180-s+p"}}, {{38}, {'a', "", "Ux@300-s+p N@120+p Ux@300+s+p"}},
    {{39}, {'a', "", "Uf@0+p N@120+p N@240+p"}}, {{40}, {'a', "", "N@0+p Uf@120+p N@240+p"}},
    {{41}, {'a', "", "N@0+p N@120+p Uf@240+p"}}, {{48}, {'a', "I@0! 0@0 0@0", "0@0! 0@0! U@0+p!"}},
    {{49}, {'a', "I@180 0@0 I@0", "U@0+p U@240+p U@120+p"}}, {{50, 51}, {'h', "", "U/2@0! U/2@180! -"}},
    {{75}, {'a', kA, kC0}}, {{76}, {'a', kC, kC0}}, {{77}, {'a', kFixed, kC0}}, {{78}, {'a', kA, kAB}},
    {{79}, {'a', kC, kAB}}, {{80}, {'a', kFixed, kAB}}, {{124}, {'a', "I@0! I@180! 0@0!", "U@0+p! U@180+p! Uh@90+p!"}},
    {{125}, {'a', "0@0! I@0! I@180!", "Uh@90+p! U@0+p! U@180+p!"}},
    {{126}, {'a', "I@180! 0@0! I@0!", "U@180+p! Uh@90+p! U@0+p!"}},
    {{115}, {'h', "I@360-p 0@0 0@0", kSupply}}, {{116}, {'h', "0@0 I@360-p 0@0", kSupply}},
    {{117}, {'h', "0@0 0@0 I@360-p", kSupply}},
    {{93}, {'a', "I@0 0@240 0@120", "U@0+p Ub@180+t+p Ub@180-t+p"}},
    {{94}, {'a', "0@120 I@360 0@240", "Ub@180-t+p U@0+p Ub@180+t+p"}},
    {{95}, {'a', "0@240 0@480 I@360", "Ub@180+t+p Ub@180-t+p U@0+p"}},
    {{96}, {'a', kFixed, "Uf@390+d+p Uf@390-d+p 1.3*Uh@210+p"}},
    {{97}, {'a', kFixed, "1.3*Uh@210+p Uf@390+d+p Uf@390-d+p"}},
    {{98}, {'a', kFixed, "Uf@390-d+p 1.3*Uh@210+p Uf@390+d+p"}},
});

// One call on a record full of sentinels: result, recorded globals, both blocks.
void Expect(Checker& check, int code, int writeU, int writeI, double u, double i, double phi, int want, const Row& row,
            const Working& w, double tol = 1e-9) {
    kv::CValueIU v;
    for (double* block : {v.dI, v.dFiI, v.dU, v.dFiU, v.dSimI, v.dSimFiI, v.dSimU, v.dSimFiU})
        std::fill(block, block + 3, kSentinel);
    PrimeRecorded();
    const int r = kv::SetUIFaza(code, writeU, writeI, u, i, phi, v);
    check.where = [=] { return Call("SetUIFaza", code, u, phi) + " flags U " + std::to_string(writeU) + " I " +
                               std::to_string(writeI) + " current " + std::to_string(i); };
    check(r == want, "result", r);
    check.Recorded(code, phi);
    const bool always = row.flags == 'a';
    check.Phases(Parse(always || writeI != 0 ? row.currents : "", w), v.dI, v.dFiI, 1, tol);
    check.Phases(Parse(always || writeU != 0 ? row.voltages : "", w), v.dU, v.dFiU, 1, tol);
    check.Phases(Parse("", w), v.dSimI, v.dSimFiI, 1);  // the sequence block is never written
    check.Phases(Parse("", w), v.dSimU, v.dSimFiU, 1);
}

}  // namespace

TEST_F(FaultRecord, EveryCodeAcrossTheFrameAndTheFlags) {
    Checker check;
    // Around 19.25 (39-41), 28.87 (36-38), cst58V, cstUmax100, globUmax (120) and cst173V.
    const double magnitudes[] = {-5, 0, 10, 19.3, 28.8, 28.9, 100 / kR3, 80, 100, 120, 150, 207.9, 230};
    const int flags[][2] = {{0, 0}, {1, 0}, {0, 1}, {-3, 7}};  // writeU, writeI
    for (int code : AllCodes())
        for (double u : magnitudes)
            for (double i : {-1.0, 20.0, 25.0})
                for (double phi : {0.0, 30.0, -45.0, 200.5})
                    for (int fold : {1, 0})
                        for (const auto& f : flags) {
                            kv::glob_bEnableAbsAngle = fold;
                            const Working w = RecordModel(code, u, i, phi);
                            const auto found = kRows.find(code);
                            Row row = found == kRows.end() ? Row{} : found->second;
                            int want = found == kRows.end() ? 3 : w.r;
                            if ((code >= 36 && code <= 38 && w.U > kv::cstUmax100 / (2 * kR3)) ||
                                (code >= 39 && code <= 41 && w.U > kv::cst58V / 3))
                                want = 1, row = Row{};
                            Expect(check, code, f[0], f[1], u, i, phi, want, row, w);
                        }
    EXPECT_EQ(check.failures, 0);
}

// Worked by hand, to three decimals.
TEST_F(FaultRecord, HandCheckedCases) {
    struct Case { int code, writeU, writeI; double u, i, phi; int fold, result; Row row; };
    const Case cases[] = {
        {6, 1, 1, 300, 5, 0, 1, 1, {'a', "5@30 5@210 0@120", "207.9@0 207.9@240 207.9@120"}},
        {39, 1, 1, 5, 5, 0, 1, 0, {'a', "", "28.976@0 57.735@120 57.735@240"}},  // Uf, not L = 42.7
        {96, 1, 1, 100, 5, 15, 1, 0, {'a', "5@0 5@240 5@120", "57.735@45 57.735@45 75.056@225"}},
        {27, 1, 1, 100, 5, 400, 1, 0, {'a', "5@350 5@170 0@80", "57.735@360! 57.735@240 57.735@120"}},
    };
    Checker check;
    for (const Case& c : cases) {
        kv::glob_bEnableAbsAngle = c.fold;
        Expect(check, c.code, c.writeU, c.writeI, c.u, c.i, c.phi, c.result, c.row, Working{}, 5e-4);
    }
    EXPECT_EQ(check.failures, 0);

    // To the last bit.
    kv::CValueIU v;
    kv::SetUIFaza(39, 1, 1, 5, 5, 0, v);
    EXPECT_EQ(v.dU[0], 0.5 * std::sqrt(25 + kv::cst58V * kv::cst58V));
    kv::SetUIFaza(96, 1, 1, 100, 5, 15, v);
    EXPECT_TRUE(v.dU[0] == v.dU[1] && v.dFiU[0] == v.dFiU[1]);  // the faulted phases coincide
    kv::SetUIFaza(20, 1, 1, 0, 5, 0, v);
    EXPECT_TRUE(v.dU[0] == kv::cst58V / 2 && v.dFiU[0] == 60 && v.dU[1] == 0);  // 20 zeroes B, like 18 and 19
    const double delta = 60 - std::atan(50 / kv::cst58V) * (180 / 3.141592653589793);  // δ as the frame defines it
    kv::glob_bEnableAbsAngle = 0;
    kv::SetUIFaza(96, 1, 1, 50, 5, 33.3, v);
    EXPECT_EQ(v.dFiU[1], ((270 - delta) + 33.3) + 120);  // neither (270 - δ) + 153.3 nor (390 - δ) + 33.3
}

// In 6-8 the loop voltage leads the loop current by φ.
TEST_F(FaultRecord, PhasorsMeanWhatTheCodesSay) {
    ExpectPhysicalMeaning([](int code, double u, double phi, Cx* V) {
        kv::CValueIU v;
        const int r = kv::SetUIFaza(code, 1, 1, u, 5, phi, v);
        for (int k = 0; k < 3; ++k) V[k] = At(v.dU[k], v.dFiU[k]);
        return V[3] = code <= 8 ? At(1, v.dFiI[code - 6]) : 1, r;
    });
}
