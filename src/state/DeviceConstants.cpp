// The device-dependent globals for the connected test set's type.

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <variant>

#include "Kv_Data/State.h"
#include "Kv_Data/Util.h"

namespace kv {

namespace {

// ---- The model table ----

// "=" of the table: the global keeps what it holds, from start-up or an earlier call.
struct Keep {};
constexpr Keep eq;

// A value that follows from globals written by rows above it (rows apply top to bottom).
using Derived = double (*)();

class Cell {
public:
    constexpr Cell(Keep) : m_kind(Kind::Kept) {}
    constexpr Cell(int value) : m_kind(Kind::Number), m_number(value) {}
    constexpr Cell(double value) : m_kind(Kind::Number), m_number(value) {}
    constexpr Cell(const char* text) : m_kind(Kind::Text), m_text(text) {}
    constexpr Cell(Derived derived) : m_kind(Kind::Computed), m_derived(derived) {}

    bool Keeps() const { return m_kind == Kind::Kept; }
    double Number() const { return m_kind == Kind::Computed ? m_derived() : m_number; }
    const char* Text() const { return m_text; }

private:
    enum class Kind { Kept, Number, Text, Computed };
    Kind m_kind;
    double m_number = 0.0;
    const char* m_text = "";
    Derived m_derived = nullptr;
};

using Global = std::variant<double*, DWORD*, int*, CString*>;

void Assign(double& global, const Cell& cell) { global = cell.Number(); }
void Assign(DWORD& global, const Cell& cell) { global = static_cast<DWORD>(cell.Number()); }
void Assign(int& global, const Cell& cell) { global = static_cast<int>(cell.Number()); }
void Assign(CString& global, const Cell& cell) { global = cell.Text(); }

// The line-to-line peak, to the nearest whole volt.
double PeakOfUmaxAB() { return static_cast<double>(kv::round(globUmaxAB * std::sqrt(2.0))); }

double TwiceUmax() { return 2.0 * globUmax; }
double Umax() { return globUmax; }
double UmaxAB() { return globUmaxAB; }
double Imaxdc() { return globImaxdc; }
double WatchDogTimeOut() { return glob_dwWatchDogTimeOut; }

constexpr std::array<DWORD, 6> kModelColumns = {20, 21, 23, 31, 35, 30};

struct Row {
    Global global;
    std::array<Cell, 6> byModel;
};

// What the model branches leave, a column per model. Types 23, 31 and 35 share one
// branch, in which 35 then overwrites its own ranges.
// clang-format off
constexpr Row kModelTable[] = {
    //                                     20        21        23        31        35        30
    {&defR20,                          {  "20",     "20",     "20",     "20",     "20",     "30"  }},
    {&defN20,                          {  "20",     "20",     "20",     "20",     "20",     "30"  }},
    {&def_A,                           {  " ",      " ",      " ",      " ",      " ",      "A"   }},
    {&def_xA,                          {  " ",      " ",      " ",      " ",      " ",      "xA"  }},
    {&def_x,                           {  " ",      " ",      " ",      " ",      " ",      "x"   }},
    {&defKavorFineNumber,              {  1273,     1273,     1,        1,        1,        1     }},
    {&defKavorNewCP,                   {  7000,     7000,     65535,    65535,    65535,    65535 }},
    {&defImax,                         {  20,       36,       36,       36,       20,       15    }},
    {&cstImax,                         {  20,       36,       36,       36,       20,       15    }},
    // 23, 31 and 35 write 36 here and 10 straight over it; 35 then sets its own 20.
    {&globImax,                        {  20,       36,       10,       10,       20,       15    }},
    {&globImax2,                       {  20,       36,       10,       10,       20,       15    }},
    {&globImaxdc,                      {  20,       20,       20,       20,       45,       15    }},
    // 35: 140 whichever voltage range glob_nComboRangeU selects.
    {&globUmax,                        {  120,      120,      135,      135,      140,      135   }},
    {&globUmaxAB,                      {  240,      240,      270,      270,  TwiceUmax,      270   }},
    {&globUmaxABdc,                    {  340,      340,      381,      381, PeakOfUmaxAB,    381   }},
    {&cstHStep,                        {  0.01,     0.01,     0.001,    0.001,    0.0001,   0.01  }},
    {&cstFStep,                        {  0.01,     0.01,     0.001,    0.001,    0.001,    0.01  }},
    {&cstHDigitAfterComma,             {  2,        2,        3,        3,        4,        2     }},
    {&cstFDigitAfterComma,             {  2,        2,        3,        3,        3,        2     }},
    {&regim1ADC_fMul,                  {  1440,     1440,     1440,     1440,     1440,     4147.2}},
    {&regim2ADC_fMul,                  {  288,      288,      288,      288,      288,      4147.2}},
    {&regim3ADC_fMul,                  {  146,      146,      146,      146,      146,      4204.8}},
    {&regim4ADC_fMul,                  {  14.4,     14.4,     14.4,     14.4,     14.4,     4147.2}},
    {&cstHmax,                         {  500,      500,      2100,     2100,     2100,     2100  }},
    {&cstHmaxI,                        {  eq,       eq,       2100,     2100,     2100,     2100  }},
    {&cstHmaxU,                        {  eq,       eq,       2100,     2100,     2100,     2100  }},
    {&cstHmax800,                      {  500,      500,      1000,     1000,     1000,     1000  }},
    {&defUmax,                         {  120,      120,      135,      135,      Umax,     135   }},
    {&cstUmax,                         {  120,      120,      135,      135,      Umax,     135   }},
    {&cstUmaxKzAB,                     {  207,      207,      207,      207,      UmaxAB,   207   }},
    {&cstUmaxAB,                       {  240,      240,      270,      270,      UmaxAB,   270   }},
    {&cstUmaxABdc,                     {  339,      339,      380,      380,      390,      380   }},
    // 30 writes 15 and 45 first, then 20 and 60 over them.
    {&cstImaxdc,                       {  20,       20,       15,       15,       15,       20    }},
    {&cstImaxDC3,                      {  20,       20,       15,       15,       Imaxdc,   60    }},
    {&cstMaxOutContRaal,               {  4,        4,        8,        8,        16,       24    }},
    {&cstMaxOldOutCont,                {  4,        4,        4,        4,        4,        4     }},
    {&cstMaxInCont,                    {  8,        8,        16,       16,       16,       32    }},
    {&cstNowOutCont,                   {  4,        6,        8,        8,        16,       24    }},
    {&glob_dwWatchDogTimeOut,          {  14,       14,       10,       10,       10,       17    }},
    {&glob_dwWatchDogTimeOutComp,      {  8,        8,        8,        8,        8,        8     }},
    // 23, 31 and 35 copy the watchdog's time-out rather than write a number.
    {&glob_dwKavorDriverTimeOut,       {  5,        5,  WatchDogTimeOut, WatchDogTimeOut, WatchDogTimeOut, 2 }},
    {&glob_nAccountOfErrorKavorDriver, {  7,        7,        5,        5,        5,        5     }},
    {&glob_nAccountOfErrorKavorAvary,  {  7,        7,        5,        5,        5,        5     }},
};
// clang-format on

std::optional<std::size_t> ModelColumn(DWORD type) {
    for (std::size_t column = 0; column < kModelColumns.size(); ++column)
        if (kModelColumns[column] == type) return column;
    return std::nullopt;
}

void ApplyModelTable(std::size_t column) {
    for (const Row& row : kModelTable) {
        const Cell& cell = row.byModel[column];
        if (cell.Keeps()) continue;
        std::visit([&cell](auto* global) { Assign(*global, cell); }, row.global);
    }
}

// ---- The common steps ----

void SetTripTimingAndColours(DWORD type) {
    if (type == 23 || type == 30 || type == 31 || type == 35) {
        glob_dwTimeRPORPVOfTripOutputContact = 1;
        glob_dwCounterRPORPVOfTripOutputContact = 105;
        cVectorIa1 = 6;
        cVectorIb1 = 7;
        cVectorIc1 = 8;
        cVectorU4 = 9;
        cBackground = 10;
        cEllipse = 11;
        cFont = 12;
        cGrig = 13;
        cOs = 14;
        cNoCheckVector = 20;
    } else {
        // The phase colours stay as they are.
        glob_dwTimeRPORPVOfTripOutputContact = 5;
        glob_dwCounterRPORPVOfTripOutputContact = 10;
        cBackground = 6;
        cEllipse = 7;
        cFont = 8;
        cGrig = 9;
        cOs = 10;
        cNoCheckVector = 10;
    }
}

// All models share one set of data-file names.
void SetFileNames() {
    glob_StrFileNameTrase = "Kavor.log";
    glob_StrFileNameContact = "Kavor.contact";
    glob_StrFileNameContactOut = "Kavor.contactOut";
    glob_StrFileNameOption = "Kavor.option";
    glob_StrFileNameCoeff = "Kavor.coeff";
    glob_StrFileNameOk = "Kavor.ok";
    glob_StrFileNameIni = "Kavor.ini";
    glob_StrFileNameArmIni = "Kavor.arm";
    glob_StrFileNameError = "KavorError.txt";
}

// 23 and 900 keep cstMaxCont; 900 keeps cstInCont_32_8 too.
void SetContactCounts(DWORD type) {
    if (type == 30 || type == 31 || type == 35) cstMaxCont = 98;
    if (type == 30) cstInCont_32_8 = 32;
    if (type == 31 || type == 23 || type == 35) cstInCont_32_8 = 16;
    if (type == 20 || type == 21) {
        cstMaxCont = 74;
        cstInCont_32_8 = 8;
    }
}

// Type 900 has no column: its ranges follow from one current and one voltage limit.
void SetKavor900() {
    cstNowOutCont = 8;
    cstOutCont_8_4_noGOOSE = 8;
    cstMaxInCont = cstInCont_64_GOOSE;
    cstUDigitAfterComma = 3;
    cstUStep = cstHStep = cstFStep = 0.001;
    cstHmax = cstHmaxI = cstHmaxU = cstHmax800 = 1000;
    defImax = cstImax = globImax = globImax2 = cstImaxdc = cstImaxDC3 = globImaxdc = 1518500;
    globUmax = 15185000;
    globUmaxAB = 2.0 * globUmax;
    globUmaxABdc = PeakOfUmaxAB();
    defUmax = cstUmax = globUmax;
    cstUmaxKzAB = cstUmaxAB = globUmaxAB;
    cstUmaxABdc = globUmax;  // the phase maximum, not globUmaxABdc: callers rely on it
}

}  // namespace

int SetConstantsFromKavorType() {
    const DWORD type = glob_dwKavorType;

    cstUStep = 0.01;
    cstUDigitAfterComma = 2;
    if (type < 24) glob_dKI2 = 1.0;
    SetTripTimingAndColours(type);
    SetFileNames();
    SetContactCounts(type);
    cstHDigitAfterComma = 2.0;
    cstFDigitAfterComma = 2.0;
    cstHStep = 0.01;
    cstFStep = 0.01;

    if (const std::optional<std::size_t> column = ModelColumn(type)) ApplyModelTable(*column);

    cstInCont_32_8_noGOOSE = cstInCont_32_8;
    cstOutCont_8_4_noGOOSE = static_cast<DWORD>(cstNowOutCont);

    if (type == 900) SetKavor900();
    return 1;
}

}  // namespace kv
