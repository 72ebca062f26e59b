// The library's exported state and its frame: start-up and teardown.
//
// Everything that is constructed at load time lives in this one unit, so that the
// order of the definitions below is the order of construction, and teardown runs in
// reverse. Numeric globals are plain initialised data and hold their defaults before
// any code runs.
#include "phasor/AngleConstants.h"  // first: the unit's private angle constants

#include "Kv_Data/PlatformModule.h"
#include "Kv_Data/State.h"
#include "StringTable.h"
#include "platform/ModuleInternal.h"

namespace kv {

// ---- Numeric globals, records and handles: initialised data ----

// Device identity, power-on checks and contact counts.
DWORD glob_dwKavorType = 31;
DWORD glob_dwKavorTypeSlave = 35;
int glob_bCheck_Iabc_PowerOn = 1;
int glob_bCheck_Uabc_PowerOn = 1;
int glob_bCheck_Ia1b1c1_PowerOn = 1;
int glob_bCheck_U4_PowerOn = 1;
int glob_bCheck_Uoper_PowerOn = 1;
int glob_bCHECK_TypeKavorShow = 1;
int glob_bEnableAbsAngle = 1;
BYTE cstIsKavor30 = 1;
BYTE glob_bySecAdd_IDC_COMBO_OutContact = 5;
DWORD glob_dwTimeRPORPVOfTripOutputContact = 1;
DWORD glob_dwCounterRPORPVOfTripOutputContact = 105;
int glob_bSpeedKavor = 1;
DWORD cstMaxCont = 418;
DWORD cstInCont_32_8 = 16;
DWORD cstInCont_32_8_noGOOSE = 16;
DWORD cstOutCont_8_4_noGOOSE = 8;
DWORD cstInCont_64_GOOSE = 418;
DWORD cstOutCont_32_GOOSE = 408;
int glob_bLanguageRus = 1;

// Ranges, steps and ADC scale factors (volts, amperes, seconds).
double globToutContactCorrect = 0.008;
double globTmax = 600000.0;
double globTmaxValue120 = 120.0;
double defImax = 20.0;
double cstImax = 20.0;
double globImax = 20.0;
double globImax2 = 20.0;
double globImaxdc = 20.0;
double globUmax = 120.0;
double globUmaxAB = 240.0;
double globUmaxABdc = 340.0;
int cstUDigitAfterComma = 2;
DWORD cstMaxOutContRaal = 8;
double cstUStep = 0.01;
double cstHStep = 0.001;
double cstFStep = 0.001;
double cstHDigitAfterComma = 3.0;
double cstFDigitAfterComma = 3.0;
double regim1ADC_fMul = 1440.0;
double regim2ADC_fMul = 288.0;
double regim3ADC_fMul = 146.0;
double regim4ADC_fMul = 14.4;
double cstHmax = 2100.0;
double cstHmaxI = 2100.0;
double cstHmaxU = 2100.0;
double cstHmax800 = 1000.0;
double defUmax = 135.0;
double cstUmax = 135.0;
double cstUmaxKzAB = 207.0;
double cstUmaxAB = 270.0;
double cstUmaxABdc = 380.0;
double cstImaxdc = 15.0;
double cstImaxDC3 = 15.0;
DWORD cstMaxOldOutCont = 4;

// Watchdog and driver time-outs.
DWORD glob_dwWatchDogTimeOut = 10;
DWORD glob_dwWatchDogTimeOutComp = 6;
DWORD glob_dwKavorDriverTimeOut = 2;
int glob_nAccountOfErrorKavorDriver = 5;
int glob_nAccountOfErrorKavorAvary = 5;

// Colour indices of the vector diagram.
WORD cVectorIa1 = 6;
WORD cVectorIb1 = 7;
WORD cVectorIc1 = 8;
WORD cVectorU4 = 9;
WORD cBackground = 10;
WORD cEllipse = 11;
WORD cFont = 12;
WORD cGrig = 13;
WORD cOs = 14;
WORD cNoCheckVector = 20;
WORD cVectorU5 = 15;
WORD cVectorU6 = 16;

// Model numbers, contact counts, line/phase parameters and reference voltages.
DWORD defKavorFineNumber = 1;
DWORD defKavorNewCP = 65535;
int cstNowOutCont = 4;
int cstNowInCont = 8;
DWORD cstMaxInCont = 8;
int glob_dstParams_Line_Phase = 75;
double glob_dTimeOut_ReportMMS = 3.0;
double glob_dTime_ReportMMS = -1.0;
double cst58V = 57.735026918962575;
double cstUmax100 = 100.0;
double cst173V = 207.9;
double glob_dIk = 1.0;
double glob_dUk = 1.0;
double glob_dIk_val = 1.0;
double glob_dUk_val = 1.0;
int glob_bChangeUniversal_U_or_I = 1;

// Current-transformer model, first and second transformer (a 2 marks the second).
int glob_TT_bOutToKavor_Ia_Plus_Ia1 = 1;
int glob_TT_bCHECK_RX_no_simm = 1;
int glob_TT_bCHECK_K_Ost_Ind_no_simm = 1;
int glob_TT_nTAB_RX = 1;
int glob_TT_nTAB_K_Ost_Ind = 1;
int glob_TT_nCombo_TypeKz = 3;
int glob_TT_nCombo_TypeKz2 = 3;
double glob_TT_dTkz = 0.1;
double glob_TT_dIprim = 20000.0;
double glob_TT_dIsec = 20.0;
double glob_TT_dIsec_copy = 20.0;
double glob_TT_dIsec_CalcInReleZ = 20.0;
double glob_TT_dR = 5.0;
double glob_TT_dX = 1.0;
double glob_TT_dRa = 5.0;
double glob_TT_dXa = 1.0;
double glob_TT_dRb = 5.0;
double glob_TT_dXb = 1.0;
double glob_TT_dRc = 5.0;
double glob_TT_dXc = 1.0;
double glob_TT_dR_TT = 1.0;
double glob_TT_dAngleSwitchOn = 90.0;
double glob_TT_dXRratio = 20.0;
double glob_TT_dFreq = 50.0;
double glob_TT_dIprim_nom = 1000.0;
double glob_TT_dIsec_nom = 1.0;
double glob_TT_dK_TT = 1000.0;
double glob_TT_dUnas = 800.0;
double glob_TT_dPredel_Ind = 1.8;
double glob_TT_dOtnos_Mag_Pronic = 4000.0;
double glob_TT_dL_serd = 1.0;
double glob_TT_dS_mag = 0.0001;
double glob_TT_dS_mag_Calc = 0.0001;
double glob_TT_dDevTT = 5.0;
double glob_TT_dTbeg_Nas = 0.1;
double glob_TT_dK_Ost_Ind_A = 0.1;
double glob_TT_dK_Ost_Ind_B = 0.2;
double glob_TT_dK_Ost_Ind_C = 0.3;
double glob_TT_dK_Ost_Ind2_A = 0.1;
double glob_TT_dK_Ost_Ind2_B = 0.2;
double glob_TT_dK_Ost_Ind2_C = 0.3;
double glob_TT_dIprim2 = 20000.0;
double glob_TT_dIsec2 = 20.0;
double glob_TT_dIsec2_copy = 20.0;
double glob_TT_dR2 = 5.0;
double glob_TT_dX2 = 1.0;
double glob_TT_dR2a = 5.0;
double glob_TT_dX2a = 1.0;
double glob_TT_dR2b = 5.0;
double glob_TT_dX2b = 1.0;
double glob_TT_dR2c = 5.0;
double glob_TT_dX2c = 1.0;
double glob_TT_dR_TT2 = 1.0;
double glob_TT_dAngleSwitchOn2 = 90.0;
double glob_TT_dXRratio2 = 20.0;
double glob_TT_dIprim_nom2 = 1000.0;
double glob_TT_dIsec_nom2 = 1.0;
double glob_TT_dK_TT2 = 1000.0;
double glob_TT_dUnas2 = 800.0;
double glob_TT_dPredel_Ind2 = 1.8;
double glob_TT_dOtnos_Mag_Pronic2 = 4000.0;
double glob_TT_dL_serd2 = 1.0;
double glob_TT_dS_mag2 = 0.0001;
double glob_TT_dS_mag2_Calc = 0.0001;
double glob_TT_dDevTT2 = 5.0;
double glob_TT_dTbeg_Nas2 = 0.1;
double glob_TT_dAngle2 = 180.0;
int glob_TT_bCHECK_Calc_From_S_or_U = 1;
int glob_nCounterThreadSV = 1;
double glob_TT_dI_sec_rms_calculated = 1.0;
double glob_TT_dK_IsecRmsCcalculated_dIsec = 1.0;
double glob_TT_dI_sec2_rms_calculated = 1.0;
double glob_TT_dK_IsecRmsCcalculated_dIsec2 = 1.0;
double glob_TT_dAngleKz = 0.0;
int glob_TT_nComboShema = 0;
int glob_TT_nShema_TypeKZ = 0;
int glob_TT_bIdealTT1 = 0;
double glob_TT_dZ_Angle = 0.0;
double glob_TT_dX_TT = 0.0;
double glob_TT_dK_Ost_Ind = 0.0;
double glob_TT_dZ_Angle2 = 0.0;
double glob_TT_dX_TT2 = 0.0;
double glob_TT_dK_Ost_Ind2 = 0.0;
double glob_TT_dAngle1 = 0.0;
int glob_TT_bIdealTT2 = 0;
int glob_TT_bCHECK_recalc_I_onTimeKZ = 0;
double glob_TT_dT_CorerctTimeContact = 0.0;
double glob_TT_dTtrip = 0.0;
int glob_bOutToKavor_WithModelTT = 0;

// Program settings: view, synchronisation of two test sets, ADC, communication, power supply.
int glob_bShowTree = 1;
int glob_bKavorAllowAnalysePresent = 1;
int glob_bKavorKavorFirstOn = 1;
int glob_bKavorGround = 1;
DWORD glob_dwNumberContactSynchro = 7;
int glob_nComboSetupCoeff = 1;
double glob_dKavorVer = 1.0;
int glob_nCopy = 1;
int glob_nAccountKavorAsOne = 1;
int glob_nTypeSynchroTwoKavor = 1;
int glob_bEthernet_AssocReset = 1;
double glob_dKADC_Use32bitPred = 1.0;
double glob_dKADC_Use32bit = 1.0;
double glob_dUkfor3U0 = 1.0;
double glob_dFreq_SystemGenPred_InBigModel = 50.0;
int glob_nModeADC1 = 1;
int glob_nModeADC2 = 1;
double glob_dEditAdc1kI = 1.0;
double glob_dEditAdc2kI = 1.0;
double glob_dEditAdc1kU = 1.0;
double glob_dEditAdc2kU = 1.0;
double glob_dEditAdcTscan = 0.02;
double glob_dEditAdcTstart = 5.0;
int glob_nRadioAdc1 = 1;
int glob_nRadioAdc2 = 1;
double glob_dArmAlpha = 30.0;
double glob_dEditLevelVolatge = 10.0;
int glob_bADC_CurrentState_Start0_Stop1 = 1;
DWORD glob_dwADC_AccountOfPoints = 200;
DWORD glob_dwADC_AccountOfPointsCopy = 200;
int glob_liCOM_Num = 1;
int glob_bUseUsb = 1;
DWORD glob_dwBaudRate = 9600;
DWORD glob_dwIP_Port = 49950;
int glob_bCheckKavorOffOnAvaryCAMP = 1;
double globKavorDriverTimeTikFromKavor = 0.2;
double glob_nAccountAntiDev = 5.0;
int glob_liSizeBufContacts = 1000;
int glob_liSizeBufAdc = 1000;
int glob_bVectorOrTablePresent = 1;
int glob_bCOntactsOrRelePresent = 1;
int glob_bDisablePowerMonitor = 1;
int glob_liImpulsAvaryPowerMonitor = 20;
int glob_bUseInFieldPoint = 1;
int glob_bFirstZeroOutToKavorForRpoRpv = 1;
int glob_nNumberLoopForSetRpoRpv = 1;
DWORD glob_dwStateInContactForSetInTxxRpoRpv = 0xFFFFFFFFU;
int glob_bReadDesktop = 1;
int glob_bCheckOpenOnArchiv = 1;
int glob_bCheckWriteOptionToProtocol = 1;
DWORD glob_dwNumberPointsReadADC = 200;
int glob_bNeedMessage_dKInot1 = 1;
double glob_dKI = 1.0;
double glob_dKI2 = 1.0;
double glob_dKU = 1.0;
double glob_dKUa = 1.0;
double glob_dKUb = 1.0;
double glob_dKUc = 1.0;
int glob_nMsgBoxResult = -1;
int glob_bNeedMessageBoxResetTerminal = 1;
double glob_dUpit = 220.0;
double glob_dUpitReal = 220.0;
int glob_bUpitOff_OnAvary = 1;
int glob_bUpitOff_OnExit = 1;
double glob_dUpitForProgramStandart = 220.0;
double dGlobTimeFreq = 50.0;
int glob_bStopEvent = 1;

// Fault-synthesis inputs and results (volts, amperes, degrees).
double dGlobUIFazaMinMaxStep[42] = {};
int nGlobKz = 0;
double dGlobTimeUIFaza[51] = {};
int glob_nComboRangeU = 0;
int glob_nCombo_FaultAB0_AsA0 = 0;
int glob_bFault_A1_Enable = 0;
double glob_dINoLoad = 0.0;
double glob_dUNoLoad = 0.0;
double glob_Algoritm_dImax = 0.0;
double glob_Algoritm_dImin = 0.0;
double glob_Algoritm_dIstep = 0.0;
double glob_Algoritm_dUmax = 0.0;
double glob_Algoritm_dUmin = 0.0;
double glob_Algoritm_dUstep = 0.0;
double glob_Algoritm_dHmax = 0.0;
double glob_Algoritm_dHmin = 0.0;
double glob_Algoritm_dHstep = 0.0;
double glob_Algoritm_dFimax = 0.0;
double glob_Algoritm_dFimin = 0.0;
double glob_Algoritm_dFistep = 0.0;
double glob_dT1_sec = 0.0;
double glob_dT2_sec = 0.0;
double glob_dU0 = 0.0;
double glob_dU1 = 0.0;
double glob_dU2 = 0.0;
double glob_dI0 = 0.0;
double glob_dI1 = 0.0;
double glob_dI2 = 0.0;
double glob_dU0f = 0.0;
double glob_dU1f = 0.0;
double glob_dU2f = 0.0;
double glob_dI0f = 0.0;
double glob_dI1f = 0.0;
double glob_dI2f = 0.0;
double glob_dUA = 0.0;
double glob_dUB = 0.0;
double glob_dUC = 0.0;
double glob_dIA = 0.0;
double glob_dIB = 0.0;
double glob_dIC = 0.0;
double glob_dUAf = 0.0;
double glob_dUBf = 0.0;
double glob_dUCf = 0.0;
double glob_dIAf = 0.0;
double glob_dIBf = 0.0;
double glob_dICf = 0.0;
double glob_dUA_NoLoad = 0.0;
double glob_dUB_NoLoad = 0.0;
double glob_dUC_NoLoad = 0.0;
double glob_dIA_NoLoad = 0.0;
double glob_dIB_NoLoad = 0.0;
double glob_dIC_NoLoad = 0.0;
double glob_dUAf_NoLoad = 0.0;
double glob_dUBf_NoLoad = 0.0;
double glob_dUCf_NoLoad = 0.0;
double glob_dIAf_NoLoad = 0.0;
double glob_dIBf_NoLoad = 0.0;
double glob_dICf_NoLoad = 0.0;
int glob_bCheck_Angle_I = 0;
int glob_bIsSeparateArcResistance = 0;
int glob_bIsSeparateArcResistance2 = 0;
int glob_b_ModeNoLoad = 0;
double glob_dRarc = 0.0;
int glob_n_U0_or_U1_or_U2 = 0;
int glob_n_I0_or_I1_or_I2 = 0;
DWORD glob_dwProgramIconNumber = 0;
DWORD glob_dwProgramIconNumberOld = 0;

// Contacts, external start and timing arrays.
BYTE glob_bySecAdd_IDC_COMBO_OutContactArr[4] = {};
TData400Event glob_data400Event[4096] = {};
DWORD glob_dwIndex4096_data400Event = 0;
double glob_dAntiDev = 0.0;
double glob_dTime2Arr[10] = {};
double glob_dTimeResetArr[10] = {};
double glob_dTimeArr[10] = {};
BYTE glob_byContNOArr[10] = {};
BYTE glob_byContNOExStart_61850_rele = 0;
BYTE glob_byContNOExStart_61850 = 0;
BYTE glob_byContNumArr[12] = {};
DWORD glob_dwArrayAvary[35] = {};
int glob_bEnableExStart = 0;
DWORD glob_dwNumberContactExStart = 0;
BYTE glob_byTypeContactExStart = 0;
BYTE glob_byTypeContactExStart_rele = 0;
int glob_bEnableExStart_rele = 0;
DWORD glob_dwNumberContactExStart_rele = 0;
int glob_bCheckExStart_Repeat_61850_rele = 0;
DWORD glob_byContNumExStart_61850_rele = 0;
int glob_bCheckExStart_Repeat_61850 = 0;
DWORD glob_byContNumExStart_61850 = 0;
int glob_bCheckExStart_61850 = 0;
DWORD glob_dwInContacts = 0;
DWORD glob_dwInContacts_ForMsStop = 0;
DWORD glob_dwOutContacts = 0;
DWORD glob_dwInputContactsComboTypeView = 0;
DWORD glob_dwOutputContactsComboTypeView = 0;
DWORD glob_nNumberActivContact2 = 0;
DWORD glob_nTypeActivContact2 = 0;
DWORD glob_dwTimeStart = 0;
DWORD glob_dwTimeStop = 0;
DWORD glob_dwTimeStart_I_bigger_150_A = 0;
int glob_bI_bigger_150_A = 0;
structKavorOutUITime kavorOutUITime = {};

// IEC 61850: GOOSE, sampled values, MMS reports.
DWORD glob_bGOOSE_PresentInKavor = 0;
DWORD glob_dwTypeKavor_GOOSE_61850 = 0;
int glob_SendDataTo_61850 = 0;
int glob_bGOOSE_61850_in_SPI = 0;
int glob_nMaxVirtualInContNum = 0;
int glob_nMaxVirtualOutContNum = 0;
double glob_dTime_WM_ChangeGOOSEInActiveContacts = 0.0;
double glob_dTime_WM_ChangeGOOSEInActiveContacts2 = 0.0;
double glob_dTime_Goose_Kavor_40 = 0.0;
double glob_dTpred_GOOSE_KAVOR40 = 0.0;
ULONGLONG glob_64_State_GOOSE_KAVOR40[10] = {};
ULONGLONG glob_64_StatePred_GOOSE_KAVOR40[10] = {};
double glob_ArrFreqSV[40] = {};
int glob_bUse_ArrSV_CValueIU_AvtoMode = 0;
HINSTANCE m_hModuleIec61850_SV = nullptr;
int glob_bUseReportMMS = 0;
ULONGLONG glob_liState_ReportMMS = 0;
T_MMS_ReportLogic glob_tMMSrl = {};

// ADC (analogue inputs).
WORD glob_bDataADC[2][200] = {};
double glob_bCheckUse32bit_I_Pred[6] = {};
double glob_bCheckUse32bit_U_Pred[6] = {};
double glob_bCheckUse32bit_dK_I[6] = {};
double glob_bCheckUse32bit_dK_U[6] = {};
int glob_bCheckUse32bit = 0;
int glob_bCheckUse32bitPred = 0;
BYTE glob_signDC_orAC_ADC1 = 0;
BYTE glob_signDC_orAC_ADC2 = 0;
double glob_Adc1_5V_Shift = 0.0;
double glob_Adc2_5V_Shift = 0.0;
int glob_bCHECK_ADC_modeDC = 0;
int glob_bCHECK_ADC_modeDC2 = 0;
int glob_bCheckAdcOscill = 0;
int glob_bCHECKAdcContacts = 0;
int glob_bCHECKAdc_UI_KAVOR = 0;
int glob_bCHECKRms = 0;
int glob_bCHECKFiltr = 0;
int glob_bCHECKFiltr2 = 0;
int glob_bCHECKLicagu = 0;
int glob_bCHECKLicagu90 = 0;
DWORD glob_dwAdcModeOscill = 0;
DWORD glob_dwAdcModeSynchro = 0;
int glob_nAdcContNumber = 0;
int glob_nAdcContType = 0;
int glob_nAdcChannelStart = 0;
int glob_bADC_Avto = 0;
int glob_bADC1_Avto = 0;
int glob_bADC2_Avto = 0;
int glob_bADC_On = 0;
int glob_bAdcManualModeRead = 0;
int glob_bAdcManualModeFirstShow = 0;
int glob_bAdcAvtoModeFirstShow = 0;
int glob_bReadADC = 0;
double glob_dADC1 = 0.0;
double glob_dADC2 = 0.0;
double glob_dADC1rms = 0.0;
double glob_dADC2rms = 0.0;
double glob_dADC1mid = 0.0;
double glob_dADC2mid = 0.0;
double glob_dADC_cosAngle12 = 0.0;
double glob_dADC1rms_40 = 0.0;
double glob_dADC2rms_40 = 0.0;
BYTE glob_byDiskretaBufAdc = 0;
DWORD glob_dwData_ExternalDevice = 0;
ULONGLONG glob_llData_64_32 = 0;

// Test-set state, measured values and operating modes.
DWORD glob_dwKavorNumber = 0;
int glob_bKavorPresent = 0;
int glob_bKavorNeedUpdate = 0;
int glob_bCheckNeedKavorUpdate = 0;
int glob_bKavor_On = 0;
int glob_bTwoKavorAsOne = 0;
int glob_nKavorSychroModeMaster_Slave = 0;
int glob_nKavorSychroPowerOnOff = 0;
int glob_bUseKavTN_UmustWithStep = 0;
int glob_bCheckImode30A = 0;
int glob_bCheckImode30ADebugFindTrip = 0;
int glob_bCheckImode2 = 0;
int glob_bCheckImode2LL = 0;
int glob_bCheckImode2LLLL = 0;
int glob_bCheckUmode3U0 = 0;
int glob_bCheckUmode400 = 0;
int glob_bHaveAvaryEmulateInAvtoMode = 0;
int glob_nComboUmode3U0 = 0;
int glob_nComboUmode3U0_Ub1 = 0;
int glob_nComboUmode3U0_Uc1 = 0;
double glob_dResult = 0.0;
double glob_dResult_Kavor30 = 0.0;
double glob_dU4 = 0.0;
double glob_dU4F = 0.0;
double glob_dU5 = 0.0;
double glob_dU5F = 0.0;
double glob_dU6 = 0.0;
double glob_dU6F = 0.0;
int glob_bErrorChanel = 0;
int glob_bStart_cmdA30_Process_ENTER = 0;
int glob_nMode = 0;
int glob_bUniversalModule = 0;
DWORD glob_dwWindowsType = 0;
int glob_bSetDriver = 0;

// Communication.
int glob_bUseIP = 0;
int glob_bAssociated = 0;
int glob_bPressCancelCDlgSetComPort = 0;
BYTE glob_arByteIP_Comp[4] = {};
BYTE glob_arByteIP[4] = {};
int glob_bMakeResetUsb = 0;

// User-interface flags, windows and dialog identifiers.
int glob_bArm = 0;
int glob_bArm_All_UI_AltGen = 0;
int glob_bNeedBackTickMsec = 0;
int glob_bArmSec = 0;
int glob_bArmZ = 0;
int glob_bArm_3I = 0;
int glob_bComtrade = 0;
int glob_bComtrade_NeedMakeStopStart = 0;
int glob_bShowAbc = 0;
int glob_bCheckArmAlpha = 0;
int glob_bLoadContactForShowTime = 0;
int glob_bEnableLoadContactForShowTime = 0;
int glob_bCheckDontShowAvaryCAMP = 0;
int glob_bCheckAvaryNoAnalyse = 0;
int glob_bCheckI_2_20A = 0;
int glob_bCheckAvaryNoAnalyseOnTurnOn = 0;
int glob_bExitFromProgramm = 0;
int glob_bExitThread = 0;
int glob_bAvtoResetBlinkers = 0;
int glob_bEnableSetInTxxRpoRpv = 0;
int glob_bViewTestCondition = 0;
int glob_bShowAllTime = 0;
int glob_bStartProcess = 0;
int glob_bCheckLoadAllDialogs = 0;
int glob_bButtonWithText = 0;
int glob_bButtonSmall = 0;
int glob_bLocalStart = 0;
int glob_bEnableUpit = 0;
int glob_bUpitWorkWithSwith = 0;
int glob_bOptionOriginal = 0;
int glob_bFirstTest_COM_Model = 0;
int glob_bLastTest_COM_Model = 0;
int glob_bSendEventStartStop = 0;
int glob_bSendEventAvary = 0;
int glob_bOutKavorAvtoUniversal_COM_Model = 0;
int glob_dDontShowMessage_SetFactorySettings = 0;
HWND glob_hWndArmSec = nullptr;
HWND glob_HwndKavorView = nullptr;
HWND glob_hWndCom = nullptr;
HWND glob_HwndUniversalModule = nullptr;
HWND glob_HwndArm = nullptr;
HINSTANCE glob_hInstanceDialog = nullptr;
DWORD glob_uiID_CDlgSetChanelUI = 0;
DWORD glob_uiID_CDlgArm = 0;
DWORD glob_uiID_CDlgInputString3 = 0;
DWORD glob_uiID_CDlgProgress2 = 0;
double* glob_ptSeriesSignal[24] = {};

// ---- Constructed at load, in this order; destroyed in reverse ----

CString glob_strEventResult;
CString glob_strEventAvaryXML;
CString glob_strKavorType_SubType;
CString glob_StrFileNameTrase("Kavor.log");
CString glob_StrFileNameContact("Kavor.contact");
CString glob_StrNameContacts;
CString glob_StrFileNameContactOut("Kavor.contactOut");
CString glob_StrFileNameOption("Kavor.option");
CString glob_StrFileNameCoeff("Kavor.coeff");
CString glob_StrFileNameOk("Kavor.ok");
CString glob_StrFileNameIni("Kavor.ini");
CString glob_StrFileNameArmIni("Kavor.arm");
CString glob_StrFileNameError("KavorError.txt");
CString glob_StrFileNameADC_ForComtrade;
CString def_A("A");
CString def_xA("xA");
CString def_x("x");
CString defR20("30");
CString defN20("30");
CString glob_strDebugUIdata;
CString glob_strStatusBar;
CString glob_strStatusBar_str;
CString glob_strErrorResult;
CString glob_str_AnalyseIfNeedNavigate;

STRUCT_KavorWork structKavorWork = {0};

CFile glob_fileOutCont_61850;

CString glob_str_Kavor_FindTrip_WorkSec;
CString glob_str_FaultUniversal;
// The last byte is the numero sign of code page 1251.
CString glob_TT_str_EDIT_Type_TT_1("TT 1 \xB9");
CString glob_TT_str_EDIT_Type_TT_2("TT 2 \xB9");

CString glob_arrStrIdSV[40];
CString glob_ArrRateSV[40];

CValueIU glob_ArrSV_CValueIU[320];
CValueIU glob_ArrSV_CValueIU_AvtoMode[6][40];

CString glob_strInfoKavor;
CString glob_strUmode3U0("3U0");
CString glob_strUseUsb;
CString glob_strAssocMAC;
CString glob_strArchiveExtention;
CString glob_strLink;
CString glob_strStation("Station");
CString glob_strUser("User");
CString glob_strOraganization("Quorvex");
CString glob_strProtect;
CString glob_strLinkPrint;
CString glob_strStationPrint("Station");
CString glob_strUserPrint("User");
CString glob_strOraganizationPrint("Quorvex");
CString glob_strProtectPrint;
CString glob_strDir;
CString glob_strMsgBox;
CString glob_strResult;
CString glob_strMsgBox2;
CString glob_strDynamicMsgBox;
CString glob_strAddStringStatistic_KavorTreeView;
CString glob_strLastAvary;
CString glob_strLastAvaryXml;
CString glob_strTitleProgram;
CString glob_strAddStringAlgorithmm;
CString glob_strMessageBoxResetTerminal;
CString glob_strLinkOriginal;
CString glob_strStationOriginal("Station");
CString glob_strUserOriginal("User");
CString glob_strOraganizationOriginal("Quorvex");
CString glob_strProtectOriginal;

structKavorRpoRpv KavorRpoRpv = {0, 0, 0, 0, 0, 0, 0.0, 0.0, 0, 0, 1, 1, 0.0, 0.0};

// Here COutContactsVal's runtime class joins the list of classes that archives create by name.
namespace {
const AFX_CLASSINIT classInitCOutContactsVal(KV_RUNTIME_CLASS(COutContactsVal));
}  // namespace

// Here glbClassKavorState is constructed, so that it is destroyed before every global above.
KavorState glbClassKavorState;

// ---- The library's entry point ----

namespace {

// Constructed last and destroyed first, as the platform's loader attaches and detaches
// a library: the library's own module (its string table) exists from the end of start-up
// to the beginning of teardown.
class LibraryFrame {
public:
    LibraryFrame() {
        m_module = RegisterStringTable(res::kStringTable);
        platform::SetKvDataInstance(m_module);
    }
    ~LibraryFrame() {
        platform::SetKvDataInstance(nullptr);
        UnregisterStringTable(m_module);
    }
    LibraryFrame(const LibraryFrame&) = delete;
    LibraryFrame& operator=(const LibraryFrame&) = delete;

private:
    HINSTANCE m_module = nullptr;
};

const LibraryFrame frame;

}  // namespace

}  // namespace kv
