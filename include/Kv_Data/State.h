// The library's exported state: the shared globals of the suite, family by family.
// Callers read and write them directly by name; the library reads only a few of them.
// The names, misspellings included, are the interface.
#pragma once

#include "Kv_Data/PlatformCollections.h"
#include "Kv_Data/PlatformFile.h"
#include "Kv_Data/PlatformObject.h"
#include "Kv_Data/PlatformString.h"
#include "Kv_Data/PlatformTypes.h"
#include "Kv_Data/ThreePhase.h"

namespace kv {

// Records whose fields the calling programs define; the library only holds them.
// The opaque ones keep the size (and a double's alignment) that the calling programs
// lay their own fields over.
struct TData400Event {
    alignas(8) BYTE abyData[16];
};
struct structKavorOutUITime {
    alignas(8) BYTE abyData[1048];
};
struct T_MMS_ReportLogic {
    alignas(8) BYTE abyData[56];
};
struct STRUCT_KavorWork {
    DWORD dwValue;
};
// The RPO/RPV record. The calling programs give the fields their meaning, so the names
// only count them by type. KavorRpoRpv starts with nField7 = nField8 = 1, all else 0.
struct structKavorRpoRpv {
    BYTE byField1;
    BYTE byField2;
    int nField1;
    int nField2;
    int nField3;
    int nField4;
    double dField1;
    double dField2;
    int nField5;
    int nField6;
    int nField7;
    int nField8;
    double dField3;
    double dField4;
};
static_assert(sizeof(TData400Event) == 16);
static_assert(sizeof(structKavorOutUITime) == 1048);
static_assert(sizeof(T_MMS_ReportLogic) == 56);
static_assert(sizeof(STRUCT_KavorWork) == 4);
static_assert(sizeof(structKavorRpoRpv) == 72);

// Rewrites the device-dependent globals (ranges, steps, contact counts, colours,
// time-outs, model texts, file names) for the type in glob_dwKavorType. Globals that
// the type's branches do not write keep what they held, also from an earlier call
// with another type. Always returns 1.
KV_DATA_API int SetConstantsFromKavorType();

// One output contact. Only the flags and the first two values reach archives.
struct KV_DATA_API COutContactEntry {
    BYTE byFlag1 = 0;
    BYTE byFlag2 = 0;
    double dValue1 = 0.0;
    double dValue2 = 0.0;
    CString strText;
    double dValue3 = 0.0;
    double dValue4 = 0.0;
};

// The output-contact configuration: 512 entries, archived in two blocks. Serialize
// holds the first cstMaxOldOutCont entries, SerializeRemain the rest, so that files
// written before the later contacts existed still load.
class KV_DATA_API COutContactsVal : public CObject {
    KV_DECLARE_SERIAL(COutContactsVal)
public:
    static constexpr int kEntryCount = 512;

    COutContactsVal() = default;
    COutContactsVal(const COutContactsVal& other);
    COutContactsVal& operator=(const COutContactsVal& other);
    ~COutContactsVal() override = default;

    // 1 when every field of every entry is equal (doubles exactly, texts byte by byte).
    int operator==(const COutContactsVal& other) const;

    // Archive errors are swallowed: a short archive leaves the entries not yet read as
    // they were.
    void Serialize(CArchive& ar) override;
    // Storing errors reach the caller. A loading error resets every later entry's
    // archived fields to their defaults (dValue2 = 0.1).
    void SerializeRemain(CArchive& ar);

    COutContactEntry m_aEntry[kEntryCount];
};

// The state that the suite's programs share: three value records, the output-contact
// configuration, per-contact settings and the registry of open windows that a program
// notifies through SendMessageToOpenWindow.
class KV_DATA_API KavorState {
public:
    KavorState();
    virtual ~KavorState();
    KavorState(const KavorState&) = delete;
    KavorState& operator=(const KavorState&) = delete;

    // Appends, duplicates and null included.
    void AddHwndToListOpenWindow(HWND hWnd);
    // Removes the first occurrence only; the later entries keep their order.
    void DeleteHwndFromListOpenWindow(HWND hWnd);
    // Posts WM_COMMAND (wParam nMsg, lParam hWndParam) and then nMsg (0, 0) to every
    // registered window but the sender, once per registration. Dead or null handles
    // leave the registry on the way.
    void SendMessageToOpenWindow(HWND hWndSender, UINT nMsg, HWND hWndParam);

    // Store a copy of `value` given in representation `wMode` into m_Value, m_Value2 or
    // m_Value3, converted to the representation m_wValueMode. Mask bits: 0x01 / 0x02 /
    // 0x04 currents as phase values / a third form / symmetrical components, 0x10 /
    // 0x20 / 0x40 the same for voltages.
    void SetValue(const CValueIU& value, unsigned short wMode);
    void SetValue2(const CValueIU& value, unsigned short wMode);
    void SetValue3(const CValueIU& value, unsigned short wMode);

    CValueIU m_Value;
    CValueIU m_Value2;
    CValueIU m_Value3;
    double m_dImax;  // globImax when the object was made
    double m_dStep1 = 0.01;
    double m_dStep2 = 0.1;
    double m_dSpare1 = 0.0;
    double m_dSpare2 = 0.0;
    double m_dFreq1 = 50.0;
    double m_dFreq2 = 50.0;
    int m_nFlag1 = 0;
    int m_nFlag2 = 0;
    COutContactsVal m_OutContacts;
    DWORD m_adwContact1[COutContactsVal::kEntryCount] = {};
    DWORD m_adwContact2[COutContactsVal::kEntryCount] = {};
    int m_anContact3[COutContactsVal::kEntryCount];  // all 1
    int m_anContact4[COutContactsVal::kEntryCount];  // all 1
    int m_anGroup[3][8];                             // all 1
    int m_nState1 = 0;
    int m_nState2 = 0;
    int m_nMask = 255;
    double m_dState1 = 0.0;
    double m_dState2 = 0.0;
    WORD m_wValueMode = 0x11;  // representation of the three records; only callers change it
    int m_nState3 = 0;
    int m_nState4 = 0;
    int m_nState5 = 2;
    double m_dState3 = 10.0;
    int m_nState6 = 2;
    int m_nState7 = 0;
    int m_nState8 = 0;
    int m_nState9 = 0;
    CArray<HWND, HWND> m_arrOpenWindow;  // handles are not owned
    HWND m_hWndSender = nullptr;         // the sender of the last fan-out
    int m_bFanOut = 0;

private:
    void StoreValue(CValueIU& record, const CValueIU& value, unsigned short wMode) const;
};

extern KV_DATA_API KavorState glbClassKavorState;

// Device identity, power-on checks and contact counts.
extern KV_DATA_API DWORD glob_dwKavorType;  // device-type code of the connected test set
extern KV_DATA_API DWORD glob_dwKavorTypeSlave;  // device-type code of the slave test set
extern KV_DATA_API int glob_bCheck_Iabc_PowerOn;
extern KV_DATA_API int glob_bCheck_Uabc_PowerOn;
extern KV_DATA_API int glob_bCheck_Ia1b1c1_PowerOn;
extern KV_DATA_API int glob_bCheck_U4_PowerOn;
extern KV_DATA_API int glob_bCheck_Uoper_PowerOn;
extern KV_DATA_API int glob_bCHECK_TypeKavorShow;
extern KV_DATA_API int glob_bEnableAbsAngle;
extern KV_DATA_API BYTE cstIsKavor30;
extern KV_DATA_API BYTE glob_bySecAdd_IDC_COMBO_OutContact;
extern KV_DATA_API DWORD glob_dwTimeRPORPVOfTripOutputContact;
extern KV_DATA_API DWORD glob_dwCounterRPORPVOfTripOutputContact;
extern KV_DATA_API int glob_bSpeedKavor;
extern KV_DATA_API DWORD cstMaxCont;
extern KV_DATA_API DWORD cstInCont_32_8;
extern KV_DATA_API DWORD cstInCont_32_8_noGOOSE;
extern KV_DATA_API DWORD cstOutCont_8_4_noGOOSE;
extern KV_DATA_API DWORD cstInCont_64_GOOSE;
extern KV_DATA_API DWORD cstOutCont_32_GOOSE;
extern KV_DATA_API int glob_bLanguageRus;  // the user interface speaks Russian

// Ranges, steps and ADC scale factors (volts, amperes, seconds).
extern KV_DATA_API double globToutContactCorrect;
extern KV_DATA_API double globTmax;
extern KV_DATA_API double globTmaxValue120;
extern KV_DATA_API double defImax;
extern KV_DATA_API double cstImax;
extern KV_DATA_API double globImax;
extern KV_DATA_API double globImax2;
extern KV_DATA_API double globImaxdc;
extern KV_DATA_API double globUmax;
extern KV_DATA_API double globUmaxAB;
extern KV_DATA_API double globUmaxABdc;
extern KV_DATA_API int cstUDigitAfterComma;
extern KV_DATA_API DWORD cstMaxOutContRaal;
extern KV_DATA_API double cstUStep;
extern KV_DATA_API double cstHStep;
extern KV_DATA_API double cstFStep;
extern KV_DATA_API double cstHDigitAfterComma;
extern KV_DATA_API double cstFDigitAfterComma;
extern KV_DATA_API double regim1ADC_fMul;
extern KV_DATA_API double regim2ADC_fMul;
extern KV_DATA_API double regim3ADC_fMul;
extern KV_DATA_API double regim4ADC_fMul;
extern KV_DATA_API double cstHmax;
extern KV_DATA_API double cstHmaxI;
extern KV_DATA_API double cstHmaxU;
extern KV_DATA_API double cstHmax800;
extern KV_DATA_API double defUmax;
extern KV_DATA_API double cstUmax;
extern KV_DATA_API double cstUmaxKzAB;
extern KV_DATA_API double cstUmaxAB;
extern KV_DATA_API double cstUmaxABdc;
extern KV_DATA_API double cstImaxdc;
extern KV_DATA_API double cstImaxDC3;
extern KV_DATA_API DWORD cstMaxOldOutCont;

// Watchdog and driver time-outs.
extern KV_DATA_API DWORD glob_dwWatchDogTimeOut;
extern KV_DATA_API DWORD glob_dwWatchDogTimeOutComp;
extern KV_DATA_API DWORD glob_dwKavorDriverTimeOut;
extern KV_DATA_API int glob_nAccountOfErrorKavorDriver;
extern KV_DATA_API int glob_nAccountOfErrorKavorAvary;

// Colour indices of the vector diagram.
extern KV_DATA_API WORD cVectorIa1;
extern KV_DATA_API WORD cVectorIb1;
extern KV_DATA_API WORD cVectorIc1;
extern KV_DATA_API WORD cVectorU4;
extern KV_DATA_API WORD cBackground;
extern KV_DATA_API WORD cEllipse;
extern KV_DATA_API WORD cFont;
extern KV_DATA_API WORD cGrig;
extern KV_DATA_API WORD cOs;
extern KV_DATA_API WORD cNoCheckVector;
extern KV_DATA_API WORD cVectorU5;
extern KV_DATA_API WORD cVectorU6;

// Model numbers, contact counts, line/phase parameters and reference voltages.
extern KV_DATA_API DWORD defKavorFineNumber;
extern KV_DATA_API DWORD defKavorNewCP;
extern KV_DATA_API int cstNowOutCont;
extern KV_DATA_API int cstNowInCont;
extern KV_DATA_API DWORD cstMaxInCont;
extern KV_DATA_API int glob_dstParams_Line_Phase;
extern KV_DATA_API double glob_dTimeOut_ReportMMS;  // seconds, like glob_dTime_ReportMMS
extern KV_DATA_API double glob_dTime_ReportMMS;
extern KV_DATA_API double cst58V;  // phase voltage of a 100 V line system
extern KV_DATA_API double cstUmax100;
extern KV_DATA_API double cst173V;  // 207.9 although the name says 173 V; callers rely on the value
extern KV_DATA_API double glob_dIk;
extern KV_DATA_API double glob_dUk;
extern KV_DATA_API double glob_dIk_val;
extern KV_DATA_API double glob_dUk_val;
extern KV_DATA_API int glob_bChangeUniversal_U_or_I;

// Current-transformer model, first and second transformer (a 2 marks the second).
extern KV_DATA_API int glob_TT_bOutToKavor_Ia_Plus_Ia1;
extern KV_DATA_API int glob_TT_bCHECK_RX_no_simm;
extern KV_DATA_API int glob_TT_bCHECK_K_Ost_Ind_no_simm;
extern KV_DATA_API int glob_TT_nTAB_RX;
extern KV_DATA_API int glob_TT_nTAB_K_Ost_Ind;
extern KV_DATA_API int glob_TT_nCombo_TypeKz;
extern KV_DATA_API int glob_TT_nCombo_TypeKz2;
extern KV_DATA_API double glob_TT_dTkz;
extern KV_DATA_API double glob_TT_dIprim;
extern KV_DATA_API double glob_TT_dIsec;
extern KV_DATA_API double glob_TT_dIsec_copy;
extern KV_DATA_API double glob_TT_dIsec_CalcInReleZ;
extern KV_DATA_API double glob_TT_dR;
extern KV_DATA_API double glob_TT_dX;
extern KV_DATA_API double glob_TT_dRa;
extern KV_DATA_API double glob_TT_dXa;
extern KV_DATA_API double glob_TT_dRb;
extern KV_DATA_API double glob_TT_dXb;
extern KV_DATA_API double glob_TT_dRc;
extern KV_DATA_API double glob_TT_dXc;
extern KV_DATA_API double glob_TT_dR_TT;
extern KV_DATA_API double glob_TT_dAngleSwitchOn;
extern KV_DATA_API double glob_TT_dXRratio;
extern KV_DATA_API double glob_TT_dFreq;
extern KV_DATA_API double glob_TT_dIprim_nom;
extern KV_DATA_API double glob_TT_dIsec_nom;
extern KV_DATA_API double glob_TT_dK_TT;
extern KV_DATA_API double glob_TT_dUnas;
extern KV_DATA_API double glob_TT_dPredel_Ind;
extern KV_DATA_API double glob_TT_dOtnos_Mag_Pronic;
extern KV_DATA_API double glob_TT_dL_serd;
extern KV_DATA_API double glob_TT_dS_mag;
extern KV_DATA_API double glob_TT_dS_mag_Calc;
extern KV_DATA_API double glob_TT_dDevTT;
extern KV_DATA_API double glob_TT_dTbeg_Nas;
extern KV_DATA_API double glob_TT_dK_Ost_Ind_A;
extern KV_DATA_API double glob_TT_dK_Ost_Ind_B;
extern KV_DATA_API double glob_TT_dK_Ost_Ind_C;
extern KV_DATA_API double glob_TT_dK_Ost_Ind2_A;
extern KV_DATA_API double glob_TT_dK_Ost_Ind2_B;
extern KV_DATA_API double glob_TT_dK_Ost_Ind2_C;
extern KV_DATA_API double glob_TT_dIprim2;
extern KV_DATA_API double glob_TT_dIsec2;
extern KV_DATA_API double glob_TT_dIsec2_copy;
extern KV_DATA_API double glob_TT_dR2;
extern KV_DATA_API double glob_TT_dX2;
extern KV_DATA_API double glob_TT_dR2a;
extern KV_DATA_API double glob_TT_dX2a;
extern KV_DATA_API double glob_TT_dR2b;
extern KV_DATA_API double glob_TT_dX2b;
extern KV_DATA_API double glob_TT_dR2c;
extern KV_DATA_API double glob_TT_dX2c;
extern KV_DATA_API double glob_TT_dR_TT2;
extern KV_DATA_API double glob_TT_dAngleSwitchOn2;
extern KV_DATA_API double glob_TT_dXRratio2;
extern KV_DATA_API double glob_TT_dIprim_nom2;
extern KV_DATA_API double glob_TT_dIsec_nom2;
extern KV_DATA_API double glob_TT_dK_TT2;
extern KV_DATA_API double glob_TT_dUnas2;
extern KV_DATA_API double glob_TT_dPredel_Ind2;
extern KV_DATA_API double glob_TT_dOtnos_Mag_Pronic2;
extern KV_DATA_API double glob_TT_dL_serd2;
extern KV_DATA_API double glob_TT_dS_mag2;
extern KV_DATA_API double glob_TT_dS_mag2_Calc;
extern KV_DATA_API double glob_TT_dDevTT2;
extern KV_DATA_API double glob_TT_dTbeg_Nas2;
extern KV_DATA_API double glob_TT_dAngle2;
extern KV_DATA_API int glob_TT_bCHECK_Calc_From_S_or_U;
extern KV_DATA_API int glob_nCounterThreadSV;  // not a transformer setting, but kept among them
extern KV_DATA_API double glob_TT_dI_sec_rms_calculated;
extern KV_DATA_API double glob_TT_dK_IsecRmsCcalculated_dIsec;
extern KV_DATA_API double glob_TT_dI_sec2_rms_calculated;
extern KV_DATA_API double glob_TT_dK_IsecRmsCcalculated_dIsec2;
extern KV_DATA_API double glob_TT_dAngleKz;
extern KV_DATA_API int glob_TT_nComboShema;
extern KV_DATA_API int glob_TT_nShema_TypeKZ;
extern KV_DATA_API int glob_TT_bIdealTT1;
extern KV_DATA_API double glob_TT_dZ_Angle;
extern KV_DATA_API double glob_TT_dX_TT;
extern KV_DATA_API double glob_TT_dK_Ost_Ind;
extern KV_DATA_API double glob_TT_dZ_Angle2;
extern KV_DATA_API double glob_TT_dX_TT2;
extern KV_DATA_API double glob_TT_dK_Ost_Ind2;
extern KV_DATA_API double glob_TT_dAngle1;
extern KV_DATA_API int glob_TT_bIdealTT2;
extern KV_DATA_API int glob_TT_bCHECK_recalc_I_onTimeKZ;
extern KV_DATA_API double glob_TT_dT_CorerctTimeContact;
extern KV_DATA_API double glob_TT_dTtrip;
extern KV_DATA_API int glob_bOutToKavor_WithModelTT;

// Program settings: view, synchronisation of two test sets, ADC, communication, power supply.
extern KV_DATA_API int glob_bShowTree;
extern KV_DATA_API int glob_bKavorAllowAnalysePresent;
extern KV_DATA_API int glob_bKavorKavorFirstOn;
extern KV_DATA_API int glob_bKavorGround;
extern KV_DATA_API DWORD glob_dwNumberContactSynchro;
extern KV_DATA_API int glob_nComboSetupCoeff;
extern KV_DATA_API double glob_dKavorVer;
extern KV_DATA_API int glob_nCopy;
extern KV_DATA_API int glob_nAccountKavorAsOne;
extern KV_DATA_API int glob_nTypeSynchroTwoKavor;
extern KV_DATA_API int glob_bEthernet_AssocReset;
extern KV_DATA_API double glob_dKADC_Use32bitPred;
extern KV_DATA_API double glob_dKADC_Use32bit;
extern KV_DATA_API double glob_dUkfor3U0;
extern KV_DATA_API double glob_dFreq_SystemGenPred_InBigModel;
extern KV_DATA_API int glob_nModeADC1;
extern KV_DATA_API int glob_nModeADC2;
extern KV_DATA_API double glob_dEditAdc1kI;
extern KV_DATA_API double glob_dEditAdc2kI;
extern KV_DATA_API double glob_dEditAdc1kU;
extern KV_DATA_API double glob_dEditAdc2kU;
extern KV_DATA_API double glob_dEditAdcTscan;
extern KV_DATA_API double glob_dEditAdcTstart;
extern KV_DATA_API int glob_nRadioAdc1;
extern KV_DATA_API int glob_nRadioAdc2;
extern KV_DATA_API double glob_dArmAlpha;
extern KV_DATA_API double glob_dEditLevelVolatge;
extern KV_DATA_API int glob_bADC_CurrentState_Start0_Stop1;
extern KV_DATA_API DWORD glob_dwADC_AccountOfPoints;
extern KV_DATA_API DWORD glob_dwADC_AccountOfPointsCopy;
extern KV_DATA_API int glob_liCOM_Num;  // serial port number: 1 is COM1
extern KV_DATA_API int glob_bUseUsb;
extern KV_DATA_API DWORD glob_dwBaudRate;
extern KV_DATA_API DWORD glob_dwIP_Port;  // network port
extern KV_DATA_API int glob_bCheckKavorOffOnAvaryCAMP;
extern KV_DATA_API double globKavorDriverTimeTikFromKavor;
extern KV_DATA_API double glob_nAccountAntiDev;  // a double despite its n prefix
extern KV_DATA_API int glob_liSizeBufContacts;
extern KV_DATA_API int glob_liSizeBufAdc;
extern KV_DATA_API int glob_bVectorOrTablePresent;
extern KV_DATA_API int glob_bCOntactsOrRelePresent;
extern KV_DATA_API int glob_bDisablePowerMonitor;
extern KV_DATA_API int glob_liImpulsAvaryPowerMonitor;
// When 0, numbers are written with a decimal comma instead of a point.
extern KV_DATA_API int glob_bUseInFieldPoint;
extern KV_DATA_API int glob_bFirstZeroOutToKavorForRpoRpv;
extern KV_DATA_API int glob_nNumberLoopForSetRpoRpv;
extern KV_DATA_API DWORD glob_dwStateInContactForSetInTxxRpoRpv;
extern KV_DATA_API int glob_bReadDesktop;
extern KV_DATA_API int glob_bCheckOpenOnArchiv;
extern KV_DATA_API int glob_bCheckWriteOptionToProtocol;
extern KV_DATA_API DWORD glob_dwNumberPointsReadADC;
extern KV_DATA_API int glob_bNeedMessage_dKInot1;
extern KV_DATA_API double glob_dKI;
extern KV_DATA_API double glob_dKI2;
extern KV_DATA_API double glob_dKU;
extern KV_DATA_API double glob_dKUa;
extern KV_DATA_API double glob_dKUb;
extern KV_DATA_API double glob_dKUc;
extern KV_DATA_API int glob_nMsgBoxResult;
extern KV_DATA_API int glob_bNeedMessageBoxResetTerminal;
extern KV_DATA_API double glob_dUpit;
extern KV_DATA_API double glob_dUpitReal;
extern KV_DATA_API int glob_bUpitOff_OnAvary;
extern KV_DATA_API int glob_bUpitOff_OnExit;
extern KV_DATA_API double glob_dUpitForProgramStandart;  // supply voltage, volts
extern KV_DATA_API double dGlobTimeFreq;
extern KV_DATA_API int glob_bStopEvent;

// Fault-synthesis inputs and results (volts, amperes, degrees).
extern KV_DATA_API double dGlobUIFazaMinMaxStep[42];
extern KV_DATA_API int nGlobKz;
extern KV_DATA_API double dGlobTimeUIFaza[51];
extern KV_DATA_API int glob_nComboRangeU;
extern KV_DATA_API int glob_nCombo_FaultAB0_AsA0;
extern KV_DATA_API int glob_bFault_A1_Enable;
extern KV_DATA_API double glob_dINoLoad;
extern KV_DATA_API double glob_dUNoLoad;
extern KV_DATA_API double glob_Algoritm_dImax;
extern KV_DATA_API double glob_Algoritm_dImin;
extern KV_DATA_API double glob_Algoritm_dIstep;
extern KV_DATA_API double glob_Algoritm_dUmax;
extern KV_DATA_API double glob_Algoritm_dUmin;
extern KV_DATA_API double glob_Algoritm_dUstep;
extern KV_DATA_API double glob_Algoritm_dHmax;
extern KV_DATA_API double glob_Algoritm_dHmin;
extern KV_DATA_API double glob_Algoritm_dHstep;
extern KV_DATA_API double glob_Algoritm_dFimax;
extern KV_DATA_API double glob_Algoritm_dFimin;
extern KV_DATA_API double glob_Algoritm_dFistep;
extern KV_DATA_API double glob_dT1_sec;
extern KV_DATA_API double glob_dT2_sec;
extern KV_DATA_API double glob_dU0;
extern KV_DATA_API double glob_dU1;
extern KV_DATA_API double glob_dU2;
extern KV_DATA_API double glob_dI0;
extern KV_DATA_API double glob_dI1;
extern KV_DATA_API double glob_dI2;
extern KV_DATA_API double glob_dU0f;
extern KV_DATA_API double glob_dU1f;
extern KV_DATA_API double glob_dU2f;
extern KV_DATA_API double glob_dI0f;
extern KV_DATA_API double glob_dI1f;
extern KV_DATA_API double glob_dI2f;
extern KV_DATA_API double glob_dUA;
extern KV_DATA_API double glob_dUB;
extern KV_DATA_API double glob_dUC;
extern KV_DATA_API double glob_dIA;
extern KV_DATA_API double glob_dIB;
extern KV_DATA_API double glob_dIC;
extern KV_DATA_API double glob_dUAf;
extern KV_DATA_API double glob_dUBf;
extern KV_DATA_API double glob_dUCf;
extern KV_DATA_API double glob_dIAf;
extern KV_DATA_API double glob_dIBf;
extern KV_DATA_API double glob_dICf;
extern KV_DATA_API double glob_dUA_NoLoad;
extern KV_DATA_API double glob_dUB_NoLoad;
extern KV_DATA_API double glob_dUC_NoLoad;
extern KV_DATA_API double glob_dIA_NoLoad;
extern KV_DATA_API double glob_dIB_NoLoad;
extern KV_DATA_API double glob_dIC_NoLoad;
extern KV_DATA_API double glob_dUAf_NoLoad;
extern KV_DATA_API double glob_dUBf_NoLoad;
extern KV_DATA_API double glob_dUCf_NoLoad;
extern KV_DATA_API double glob_dIAf_NoLoad;
extern KV_DATA_API double glob_dIBf_NoLoad;
extern KV_DATA_API double glob_dICf_NoLoad;
extern KV_DATA_API int glob_bCheck_Angle_I;
extern KV_DATA_API int glob_bIsSeparateArcResistance;
extern KV_DATA_API int glob_bIsSeparateArcResistance2;
extern KV_DATA_API int glob_b_ModeNoLoad;
extern KV_DATA_API double glob_dRarc;
extern KV_DATA_API int glob_n_U0_or_U1_or_U2;
extern KV_DATA_API int glob_n_I0_or_I1_or_I2;
extern KV_DATA_API DWORD glob_dwProgramIconNumber;
extern KV_DATA_API DWORD glob_dwProgramIconNumberOld;

// Contacts, external start and timing arrays.
extern KV_DATA_API BYTE glob_bySecAdd_IDC_COMBO_OutContactArr[4];
extern KV_DATA_API TData400Event glob_data400Event[4096];
extern KV_DATA_API DWORD glob_dwIndex4096_data400Event;  // index into glob_data400Event
extern KV_DATA_API double glob_dAntiDev;
extern KV_DATA_API double glob_dTime2Arr[10];
extern KV_DATA_API double glob_dTimeResetArr[10];
extern KV_DATA_API double glob_dTimeArr[10];
extern KV_DATA_API BYTE glob_byContNOArr[10];
extern KV_DATA_API BYTE glob_byContNOExStart_61850_rele;
extern KV_DATA_API BYTE glob_byContNOExStart_61850;
extern KV_DATA_API BYTE glob_byContNumArr[12];
extern KV_DATA_API DWORD glob_dwArrayAvary[35];
extern KV_DATA_API int glob_bEnableExStart;
extern KV_DATA_API DWORD glob_dwNumberContactExStart;
extern KV_DATA_API BYTE glob_byTypeContactExStart;
extern KV_DATA_API BYTE glob_byTypeContactExStart_rele;
extern KV_DATA_API int glob_bEnableExStart_rele;
extern KV_DATA_API DWORD glob_dwNumberContactExStart_rele;
extern KV_DATA_API int glob_bCheckExStart_Repeat_61850_rele;
extern KV_DATA_API DWORD glob_byContNumExStart_61850_rele;  // 32-bit despite its by prefix
extern KV_DATA_API int glob_bCheckExStart_Repeat_61850;
extern KV_DATA_API DWORD glob_byContNumExStart_61850;  // 32-bit despite its by prefix
extern KV_DATA_API int glob_bCheckExStart_61850;
extern KV_DATA_API DWORD glob_dwInContacts;
extern KV_DATA_API DWORD glob_dwInContacts_ForMsStop;
extern KV_DATA_API DWORD glob_dwOutContacts;
extern KV_DATA_API DWORD glob_dwInputContactsComboTypeView;
extern KV_DATA_API DWORD glob_dwOutputContactsComboTypeView;
extern KV_DATA_API DWORD glob_nNumberActivContact2;
extern KV_DATA_API DWORD glob_nTypeActivContact2;
extern KV_DATA_API DWORD glob_dwTimeStart;
extern KV_DATA_API DWORD glob_dwTimeStop;
extern KV_DATA_API DWORD glob_dwTimeStart_I_bigger_150_A;
extern KV_DATA_API int glob_bI_bigger_150_A;
extern KV_DATA_API structKavorOutUITime kavorOutUITime;
extern KV_DATA_API STRUCT_KavorWork structKavorWork;
extern KV_DATA_API structKavorRpoRpv KavorRpoRpv;

// IEC 61850: GOOSE, sampled values, MMS reports.
extern KV_DATA_API DWORD glob_bGOOSE_PresentInKavor;
extern KV_DATA_API DWORD glob_dwTypeKavor_GOOSE_61850;
extern KV_DATA_API int glob_SendDataTo_61850;
extern KV_DATA_API int glob_bGOOSE_61850_in_SPI;
extern KV_DATA_API int glob_nMaxVirtualInContNum;
extern KV_DATA_API int glob_nMaxVirtualOutContNum;
extern KV_DATA_API double glob_dTime_WM_ChangeGOOSEInActiveContacts;
extern KV_DATA_API double glob_dTime_WM_ChangeGOOSEInActiveContacts2;
extern KV_DATA_API double glob_dTime_Goose_Kavor_40;
extern KV_DATA_API double glob_dTpred_GOOSE_KAVOR40;
extern KV_DATA_API ULONGLONG glob_64_State_GOOSE_KAVOR40[10];
extern KV_DATA_API ULONGLONG glob_64_StatePred_GOOSE_KAVOR40[10];
extern KV_DATA_API double glob_ArrFreqSV[40];
extern KV_DATA_API CString glob_arrStrIdSV[40];
extern KV_DATA_API CString glob_ArrRateSV[40];
extern KV_DATA_API CValueIU glob_ArrSV_CValueIU[320];
extern KV_DATA_API CValueIU glob_ArrSV_CValueIU_AvtoMode[6][40];
extern KV_DATA_API int glob_bUse_ArrSV_CValueIU_AvtoMode;
extern KV_DATA_API HINSTANCE m_hModuleIec61850_SV;
extern KV_DATA_API int glob_bUseReportMMS;
extern KV_DATA_API ULONGLONG glob_liState_ReportMMS;
extern KV_DATA_API T_MMS_ReportLogic glob_tMMSrl;
// Closed until a caller opens it; if still open at unload, its destructor closes it.
extern KV_DATA_API CFile glob_fileOutCont_61850;

// ADC (analogue inputs).
extern KV_DATA_API WORD glob_bDataADC[2][200];
// These four are doubles despite their b prefix.
extern KV_DATA_API double glob_bCheckUse32bit_I_Pred[6];
extern KV_DATA_API double glob_bCheckUse32bit_U_Pred[6];
extern KV_DATA_API double glob_bCheckUse32bit_dK_I[6];
extern KV_DATA_API double glob_bCheckUse32bit_dK_U[6];
extern KV_DATA_API int glob_bCheckUse32bit;
extern KV_DATA_API int glob_bCheckUse32bitPred;
extern KV_DATA_API BYTE glob_signDC_orAC_ADC1;
extern KV_DATA_API BYTE glob_signDC_orAC_ADC2;
extern KV_DATA_API double glob_Adc1_5V_Shift;
extern KV_DATA_API double glob_Adc2_5V_Shift;
extern KV_DATA_API int glob_bCHECK_ADC_modeDC;
extern KV_DATA_API int glob_bCHECK_ADC_modeDC2;
extern KV_DATA_API int glob_bCheckAdcOscill;
extern KV_DATA_API int glob_bCHECKAdcContacts;
extern KV_DATA_API int glob_bCHECKAdc_UI_KAVOR;
extern KV_DATA_API int glob_bCHECKRms;
extern KV_DATA_API int glob_bCHECKFiltr;
extern KV_DATA_API int glob_bCHECKFiltr2;
extern KV_DATA_API int glob_bCHECKLicagu;
extern KV_DATA_API int glob_bCHECKLicagu90;
extern KV_DATA_API DWORD glob_dwAdcModeOscill;
extern KV_DATA_API DWORD glob_dwAdcModeSynchro;
extern KV_DATA_API int glob_nAdcContNumber;
extern KV_DATA_API int glob_nAdcContType;
extern KV_DATA_API int glob_nAdcChannelStart;
extern KV_DATA_API int glob_bADC_Avto;
extern KV_DATA_API int glob_bADC1_Avto;
extern KV_DATA_API int glob_bADC2_Avto;
extern KV_DATA_API int glob_bADC_On;
extern KV_DATA_API int glob_bAdcManualModeRead;
extern KV_DATA_API int glob_bAdcManualModeFirstShow;
extern KV_DATA_API int glob_bAdcAvtoModeFirstShow;
extern KV_DATA_API int glob_bReadADC;
extern KV_DATA_API double glob_dADC1;
extern KV_DATA_API double glob_dADC2;
extern KV_DATA_API double glob_dADC1rms;
extern KV_DATA_API double glob_dADC2rms;
extern KV_DATA_API double glob_dADC1mid;
extern KV_DATA_API double glob_dADC2mid;
extern KV_DATA_API double glob_dADC_cosAngle12;
extern KV_DATA_API double glob_dADC1rms_40;
extern KV_DATA_API double glob_dADC2rms_40;
extern KV_DATA_API BYTE glob_byDiskretaBufAdc;
extern KV_DATA_API DWORD glob_dwData_ExternalDevice;
extern KV_DATA_API ULONGLONG glob_llData_64_32;

// Test-set state, measured values and operating modes.
extern KV_DATA_API DWORD glob_dwKavorNumber;  // the connected set's number
extern KV_DATA_API int glob_bKavorPresent;
extern KV_DATA_API int glob_bKavorNeedUpdate;
extern KV_DATA_API int glob_bCheckNeedKavorUpdate;
extern KV_DATA_API int glob_bKavor_On;
extern KV_DATA_API int glob_bTwoKavorAsOne;
extern KV_DATA_API int glob_nKavorSychroModeMaster_Slave;
extern KV_DATA_API int glob_nKavorSychroPowerOnOff;
extern KV_DATA_API int glob_bUseKavTN_UmustWithStep;
extern KV_DATA_API int glob_bCheckImode30A;
extern KV_DATA_API int glob_bCheckImode30ADebugFindTrip;
extern KV_DATA_API int glob_bCheckImode2;
extern KV_DATA_API int glob_bCheckImode2LL;
extern KV_DATA_API int glob_bCheckImode2LLLL;
extern KV_DATA_API int glob_bCheckUmode3U0;
extern KV_DATA_API int glob_bCheckUmode400;
extern KV_DATA_API int glob_bHaveAvaryEmulateInAvtoMode;
extern KV_DATA_API int glob_nComboUmode3U0;
extern KV_DATA_API int glob_nComboUmode3U0_Ub1;
extern KV_DATA_API int glob_nComboUmode3U0_Uc1;
extern KV_DATA_API double glob_dResult;
extern KV_DATA_API double glob_dResult_Kavor30;
extern KV_DATA_API double glob_dU4;  // magnitude and angle of U4, U5, U6
extern KV_DATA_API double glob_dU4F;
extern KV_DATA_API double glob_dU5;
extern KV_DATA_API double glob_dU5F;
extern KV_DATA_API double glob_dU6;
extern KV_DATA_API double glob_dU6F;
extern KV_DATA_API int glob_bErrorChanel;
extern KV_DATA_API int glob_bStart_cmdA30_Process_ENTER;
extern KV_DATA_API int glob_nMode;
extern KV_DATA_API int glob_bUniversalModule;
extern KV_DATA_API DWORD glob_dwWindowsType;
extern KV_DATA_API int glob_bSetDriver;

// Communication.
extern KV_DATA_API int glob_bUseIP;
extern KV_DATA_API int glob_bAssociated;
extern KV_DATA_API int glob_bPressCancelCDlgSetComPort;
extern KV_DATA_API BYTE glob_arByteIP_Comp[4];  // the computer's IPv4 address, a byte each
extern KV_DATA_API BYTE glob_arByteIP[4];  // the test set's IPv4 address
extern KV_DATA_API int glob_bMakeResetUsb;
extern KV_DATA_API CString glob_strUseUsb;
extern KV_DATA_API CString glob_strAssocMAC;

// User-interface flags, windows and dialog identifiers.
extern KV_DATA_API int glob_bArm;
extern KV_DATA_API int glob_bArm_All_UI_AltGen;
extern KV_DATA_API int glob_bNeedBackTickMsec;
extern KV_DATA_API int glob_bArmSec;
extern KV_DATA_API int glob_bArmZ;
extern KV_DATA_API int glob_bArm_3I;
extern KV_DATA_API int glob_bComtrade;
extern KV_DATA_API int glob_bComtrade_NeedMakeStopStart;
extern KV_DATA_API int glob_bShowAbc;
extern KV_DATA_API int glob_bCheckArmAlpha;
extern KV_DATA_API int glob_bLoadContactForShowTime;
extern KV_DATA_API int glob_bEnableLoadContactForShowTime;
extern KV_DATA_API int glob_bCheckDontShowAvaryCAMP;
extern KV_DATA_API int glob_bCheckAvaryNoAnalyse;
extern KV_DATA_API int glob_bCheckI_2_20A;
extern KV_DATA_API int glob_bCheckAvaryNoAnalyseOnTurnOn;
extern KV_DATA_API int glob_bExitFromProgramm;
extern KV_DATA_API int glob_bExitThread;
extern KV_DATA_API int glob_bAvtoResetBlinkers;
extern KV_DATA_API int glob_bEnableSetInTxxRpoRpv;
extern KV_DATA_API int glob_bViewTestCondition;
extern KV_DATA_API int glob_bShowAllTime;
extern KV_DATA_API int glob_bStartProcess;
extern KV_DATA_API int glob_bCheckLoadAllDialogs;
extern KV_DATA_API int glob_bButtonWithText;
extern KV_DATA_API int glob_bButtonSmall;
extern KV_DATA_API int glob_bLocalStart;
extern KV_DATA_API int glob_bEnableUpit;
extern KV_DATA_API int glob_bUpitWorkWithSwith;
extern KV_DATA_API int glob_bOptionOriginal;
extern KV_DATA_API int glob_bFirstTest_COM_Model;
extern KV_DATA_API int glob_bLastTest_COM_Model;
extern KV_DATA_API int glob_bSendEventStartStop;
extern KV_DATA_API int glob_bSendEventAvary;
extern KV_DATA_API int glob_bOutKavorAvtoUniversal_COM_Model;
extern KV_DATA_API int glob_dDontShowMessage_SetFactorySettings;
extern KV_DATA_API HWND glob_hWndArmSec;
extern KV_DATA_API HWND glob_HwndKavorView;
extern KV_DATA_API HWND glob_hWndCom;
extern KV_DATA_API HWND glob_HwndUniversalModule;
extern KV_DATA_API HWND glob_HwndArm;
extern KV_DATA_API HINSTANCE glob_hInstanceDialog;
extern KV_DATA_API DWORD glob_uiID_CDlgSetChanelUI;
extern KV_DATA_API DWORD glob_uiID_CDlgArm;
extern KV_DATA_API DWORD glob_uiID_CDlgInputString3;
extern KV_DATA_API DWORD glob_uiID_CDlgProgress2;
extern KV_DATA_API double* glob_ptSeriesSignal[24];  // arrays owned by the caller

// Strings: status and message texts, data-file names, model text fragments.
extern KV_DATA_API CString glob_strEventResult;
extern KV_DATA_API CString glob_strEventAvaryXML;
extern KV_DATA_API CString glob_strKavorType_SubType;
extern KV_DATA_API CString glob_StrFileNameTrase;  // the trace file
extern KV_DATA_API CString glob_StrFileNameContact;
extern KV_DATA_API CString glob_StrNameContacts;
extern KV_DATA_API CString glob_StrFileNameContactOut;
extern KV_DATA_API CString glob_StrFileNameOption;
extern KV_DATA_API CString glob_StrFileNameCoeff;
extern KV_DATA_API CString glob_StrFileNameOk;
extern KV_DATA_API CString glob_StrFileNameIni;
extern KV_DATA_API CString glob_StrFileNameArmIni;
extern KV_DATA_API CString glob_StrFileNameError;
extern KV_DATA_API CString glob_StrFileNameADC_ForComtrade;
// def_A to defN20 name the model in texts.
extern KV_DATA_API CString def_A;
extern KV_DATA_API CString def_xA;
extern KV_DATA_API CString def_x;
extern KV_DATA_API CString defR20;
extern KV_DATA_API CString defN20;
extern KV_DATA_API CString glob_strDebugUIdata;
extern KV_DATA_API CString glob_strStatusBar;
extern KV_DATA_API CString glob_strStatusBar_str;
extern KV_DATA_API CString glob_strErrorResult;
extern KV_DATA_API CString glob_str_AnalyseIfNeedNavigate;
extern KV_DATA_API CString glob_str_Kavor_FindTrip_WorkSec;
extern KV_DATA_API CString glob_str_FaultUniversal;
// Both end in the numero sign, byte 0xB9 of code page 1251.
extern KV_DATA_API CString glob_TT_str_EDIT_Type_TT_1;
extern KV_DATA_API CString glob_TT_str_EDIT_Type_TT_2;
extern KV_DATA_API CString glob_strInfoKavor;
extern KV_DATA_API CString glob_strUmode3U0;
extern KV_DATA_API CString glob_strArchiveExtention;
extern KV_DATA_API CString glob_strDir;
extern KV_DATA_API CString glob_strMsgBox;
extern KV_DATA_API CString glob_strResult;
extern KV_DATA_API CString glob_strMsgBox2;
extern KV_DATA_API CString glob_strDynamicMsgBox;
extern KV_DATA_API CString glob_strAddStringStatistic_KavorTreeView;
extern KV_DATA_API CString glob_strLastAvary;
extern KV_DATA_API CString glob_strLastAvaryXml;
extern KV_DATA_API CString glob_strTitleProgram;
extern KV_DATA_API CString glob_strAddStringAlgorithmm;
extern KV_DATA_API CString glob_strMessageBoxResetTerminal;

// Report header strings: working, print and saved copies.
extern KV_DATA_API CString glob_strLink;
extern KV_DATA_API CString glob_strStation;
extern KV_DATA_API CString glob_strUser;
extern KV_DATA_API CString glob_strOraganization;
extern KV_DATA_API CString glob_strProtect;
extern KV_DATA_API CString glob_strLinkPrint;
extern KV_DATA_API CString glob_strStationPrint;
extern KV_DATA_API CString glob_strUserPrint;
extern KV_DATA_API CString glob_strOraganizationPrint;
extern KV_DATA_API CString glob_strProtectPrint;
extern KV_DATA_API CString glob_strLinkOriginal;
extern KV_DATA_API CString glob_strStationOriginal;
extern KV_DATA_API CString glob_strUserOriginal;
extern KV_DATA_API CString glob_strOraganizationOriginal;
extern KV_DATA_API CString glob_strProtectOriginal;

// glbClassKavorState and COutContactsVal::classCOutContactsVal are declared with their
// classes, before the catalogue.

}  // namespace kv
