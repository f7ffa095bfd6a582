// Android's RIL interface, version 9: the numbers and records that rild and a vendor library exchange.
//
// Plain C layout throughout. Every enumeration is an int, so that a value unknown to this header is still a value of
// the type. On the device all of int, enumerations and pointers are 4 bytes and uint64_t aligns to 4; the asserts at
// the end hold the sizes that rild counts on.
//
// Shapes that no record names: "strings" is an array of char*, its length the array's size in bytes; "integers" is an
// array of int; "string" is one char*. Calls, call forwards, neighbouring cells and broadcast configurations travel as
// arrays of pointers to records, data calls and cell infos as arrays of records.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/time.h>
#include <time.h>

constexpr int RIL_VERSION = 9;

// Slots in RIL_CardStatus_v6.
constexpr int RIL_CARD_MAX_APPS = 8;

// ---------------------------------------------------------------------------------------------------------------------
// Enumerations

enum RIL_Errno : int {
    RIL_E_SUCCESS = 0,
    RIL_E_RADIO_NOT_AVAILABLE = 1,
    RIL_E_GENERIC_FAILURE = 2,
    RIL_E_PASSWORD_INCORRECT = 3,
    RIL_E_SIM_PIN2 = 4,
    RIL_E_SIM_PUK2 = 5,
    RIL_E_REQUEST_NOT_SUPPORTED = 6,
    RIL_E_CANCELLED = 7,
    RIL_E_OP_NOT_ALLOWED_DURING_VOICE_CALL = 8,
    RIL_E_OP_NOT_ALLOWED_BEFORE_REG_TO_NW = 9,
    RIL_E_SMS_SEND_FAIL_RETRY = 10,
    RIL_E_SIM_ABSENT = 11,
    RIL_E_SUBSCRIPTION_NOT_AVAILABLE = 12,
    RIL_E_MODE_NOT_SUPPORTED = 13,
    RIL_E_FDN_CHECK_FAILURE = 14,
    RIL_E_ILLEGAL_SIM_OR_ME = 15,
};

// 2 to 9 are the old states that were bound to the SIM; 2 to 4 serve as the state of the SIM inside the library.
enum RIL_RadioState : int {
    RADIO_STATE_OFF = 0,
    RADIO_STATE_UNAVAILABLE = 1,
    RADIO_STATE_SIM_NOT_READY = 2,
    RADIO_STATE_SIM_LOCKED_OR_ABSENT = 3,
    RADIO_STATE_SIM_READY = 4,
    RADIO_STATE_ON = 10,
};

enum RIL_RadioTechnology : int {
    RADIO_TECH_UNKNOWN = 0,
    RADIO_TECH_GPRS = 1,
    RADIO_TECH_EDGE = 2,
    RADIO_TECH_UMTS = 3,
    RADIO_TECH_HSDPA = 9,
    RADIO_TECH_HSUPA = 10,
    RADIO_TECH_HSPA = 11,
    RADIO_TECH_LTE = 14,
    RADIO_TECH_HSPAP = 15,
    RADIO_TECH_GSM = 16,
};

enum RIL_CallState : int {
    RIL_CALL_ACTIVE = 0,
    RIL_CALL_HOLDING = 1,
    RIL_CALL_DIALING = 2,   // MO call only
    RIL_CALL_ALERTING = 3,  // MO call only
    RIL_CALL_INCOMING = 4,  // MT call only
    RIL_CALL_WAITING = 5,   // MT call only
};

// User-to-user signalling, 3GPP TS 24.087: carried through, never looked at.
enum RIL_UUS_Type : int {};
enum RIL_UUS_DCS : int {};

enum RIL_CardState : int {
    RIL_CARDSTATE_ABSENT = 0,
    RIL_CARDSTATE_PRESENT = 1,
    RIL_CARDSTATE_ERROR = 2,
};

enum RIL_AppType : int {
    RIL_APPTYPE_UNKNOWN = 0,
    RIL_APPTYPE_SIM = 1,
    RIL_APPTYPE_USIM = 2,
    RIL_APPTYPE_RUIM = 3,
    RIL_APPTYPE_CSIM = 4,
    RIL_APPTYPE_ISIM = 5,
};

enum RIL_AppState : int {
    RIL_APPSTATE_UNKNOWN = 0,
    RIL_APPSTATE_DETECTED = 1,
    RIL_APPSTATE_PIN = 2,
    RIL_APPSTATE_PUK = 3,
    RIL_APPSTATE_SUBSCRIPTION_PERSO = 4,
    RIL_APPSTATE_READY = 5,
};

// The values that occur here.
// 3GPP TS 24.008, 10.5.6.6, those that occur here, and one for all others.
enum RIL_DataCallFailCause : int {
    PDP_FAIL_NONE = 0,
    PDP_FAIL_OPERATOR_BARRED = 8,
    PDP_FAIL_INSUFFICIENT_RESOURCES = 26,
    PDP_FAIL_MISSING_UKNOWN_APN = 27,
    PDP_FAIL_UNKNOWN_PDP_ADDRESS_TYPE = 28,
    PDP_FAIL_USER_AUTHENTICATION = 29,
    PDP_FAIL_ACTIVATION_REJECT_GGSN = 30,
    PDP_FAIL_ACTIVATION_REJECT_UNSPECIFIED = 31,
    PDP_FAIL_SERVICE_OPTION_NOT_SUPPORTED = 32,
    PDP_FAIL_SERVICE_OPTION_NOT_SUBSCRIBED = 33,
    PDP_FAIL_SERVICE_OPTION_OUT_OF_ORDER = 34,
    PDP_FAIL_NSAPI_IN_USE = 35,
    PDP_FAIL_ONLY_IPV4_ALLOWED = 50,
    PDP_FAIL_ONLY_IPV6_ALLOWED = 51,
    PDP_FAIL_ONLY_SINGLE_BEARER_ALLOWED = 52,
    PDP_FAIL_ERROR_UNSPECIFIED = 0xFFFF,
};

enum RIL_PersoSubstate : int {
    RIL_PERSOSUBSTATE_UNKNOWN = 0,
    RIL_PERSOSUBSTATE_SIM_NETWORK = 3,
};

enum RIL_PinState : int {
    RIL_PINSTATE_UNKNOWN = 0,
    RIL_PINSTATE_ENABLED_NOT_VERIFIED = 1,
    RIL_PINSTATE_ENABLED_VERIFIED = 2,
    RIL_PINSTATE_DISABLED = 3,
    RIL_PINSTATE_ENABLED_BLOCKED = 4,       // PUK needed
    RIL_PINSTATE_ENABLED_PERM_BLOCKED = 5,  // no PUK left
};

enum RIL_CellInfoType : int {
    RIL_CELL_INFO_TYPE_GSM = 1,
    RIL_CELL_INFO_TYPE_CDMA = 2,
    RIL_CELL_INFO_TYPE_LTE = 3,
    RIL_CELL_INFO_TYPE_WCDMA = 4,
};

// Who took the time stamp of a RIL_CellInfo.
enum RIL_TimeStampType : int {
    RIL_TIMESTAMP_TYPE_UNKNOWN = 0,
    RIL_TIMESTAMP_TYPE_ANTENNA = 1,
    RIL_TIMESTAMP_TYPE_MODEM = 2,
    RIL_TIMESTAMP_TYPE_OEM_RIL = 3,
    RIL_TIMESTAMP_TYPE_JAVA_RIL = 4,
};

// ---------------------------------------------------------------------------------------------------------------------
// Requests

constexpr int RIL_REQUEST_GET_SIM_STATUS = 1;
constexpr int RIL_REQUEST_ENTER_SIM_PIN = 2;
constexpr int RIL_REQUEST_ENTER_SIM_PUK = 3;
constexpr int RIL_REQUEST_ENTER_SIM_PIN2 = 4;
constexpr int RIL_REQUEST_ENTER_SIM_PUK2 = 5;
constexpr int RIL_REQUEST_CHANGE_SIM_PIN = 6;
constexpr int RIL_REQUEST_CHANGE_SIM_PIN2 = 7;
constexpr int RIL_REQUEST_ENTER_NETWORK_DEPERSONALIZATION = 8;
constexpr int RIL_REQUEST_GET_CURRENT_CALLS = 9;
constexpr int RIL_REQUEST_DIAL = 10;
constexpr int RIL_REQUEST_GET_IMSI = 11;
constexpr int RIL_REQUEST_HANGUP = 12;
constexpr int RIL_REQUEST_HANGUP_WAITING_OR_BACKGROUND = 13;
constexpr int RIL_REQUEST_HANGUP_FOREGROUND_RESUME_BACKGROUND = 14;
constexpr int RIL_REQUEST_SWITCH_WAITING_OR_HOLDING_AND_ACTIVE = 15;
constexpr int RIL_REQUEST_CONFERENCE = 16;
constexpr int RIL_REQUEST_UDUB = 17;
constexpr int RIL_REQUEST_LAST_CALL_FAIL_CAUSE = 18;
constexpr int RIL_REQUEST_SIGNAL_STRENGTH = 19;
constexpr int RIL_REQUEST_VOICE_REGISTRATION_STATE = 20;
constexpr int RIL_REQUEST_DATA_REGISTRATION_STATE = 21;
constexpr int RIL_REQUEST_OPERATOR = 22;
constexpr int RIL_REQUEST_RADIO_POWER = 23;
constexpr int RIL_REQUEST_DTMF = 24;
constexpr int RIL_REQUEST_SEND_SMS = 25;
constexpr int RIL_REQUEST_SEND_SMS_EXPECT_MORE = 26;
constexpr int RIL_REQUEST_SETUP_DATA_CALL = 27;
constexpr int RIL_REQUEST_SIM_IO = 28;
constexpr int RIL_REQUEST_SEND_USSD = 29;
constexpr int RIL_REQUEST_CANCEL_USSD = 30;
constexpr int RIL_REQUEST_GET_CLIR = 31;
constexpr int RIL_REQUEST_SET_CLIR = 32;
constexpr int RIL_REQUEST_QUERY_CALL_FORWARD_STATUS = 33;
constexpr int RIL_REQUEST_SET_CALL_FORWARD = 34;
constexpr int RIL_REQUEST_QUERY_CALL_WAITING = 35;
constexpr int RIL_REQUEST_SET_CALL_WAITING = 36;
constexpr int RIL_REQUEST_SMS_ACKNOWLEDGE = 37;
constexpr int RIL_REQUEST_GET_IMEI = 38;
constexpr int RIL_REQUEST_GET_IMEISV = 39;
constexpr int RIL_REQUEST_ANSWER = 40;
constexpr int RIL_REQUEST_DEACTIVATE_DATA_CALL = 41;
constexpr int RIL_REQUEST_QUERY_FACILITY_LOCK = 42;
constexpr int RIL_REQUEST_SET_FACILITY_LOCK = 43;
constexpr int RIL_REQUEST_CHANGE_BARRING_PASSWORD = 44;
constexpr int RIL_REQUEST_QUERY_NETWORK_SELECTION_MODE = 45;
constexpr int RIL_REQUEST_SET_NETWORK_SELECTION_AUTOMATIC = 46;
constexpr int RIL_REQUEST_SET_NETWORK_SELECTION_MANUAL = 47;
constexpr int RIL_REQUEST_QUERY_AVAILABLE_NETWORKS = 48;
constexpr int RIL_REQUEST_DTMF_START = 49;
constexpr int RIL_REQUEST_DTMF_STOP = 50;
constexpr int RIL_REQUEST_BASEBAND_VERSION = 51;
constexpr int RIL_REQUEST_SEPARATE_CONNECTION = 52;
constexpr int RIL_REQUEST_SET_MUTE = 53;
constexpr int RIL_REQUEST_GET_MUTE = 54;
constexpr int RIL_REQUEST_QUERY_CLIP = 55;
constexpr int RIL_REQUEST_LAST_DATA_CALL_FAIL_CAUSE = 56;
constexpr int RIL_REQUEST_DATA_CALL_LIST = 57;
constexpr int RIL_REQUEST_RESET_RADIO = 58;
constexpr int RIL_REQUEST_OEM_HOOK_RAW = 59;
constexpr int RIL_REQUEST_OEM_HOOK_STRINGS = 60;
constexpr int RIL_REQUEST_SCREEN_STATE = 61;
constexpr int RIL_REQUEST_SET_SUPP_SVC_NOTIFICATION = 62;
constexpr int RIL_REQUEST_WRITE_SMS_TO_SIM = 63;
constexpr int RIL_REQUEST_DELETE_SMS_ON_SIM = 64;
constexpr int RIL_REQUEST_SET_BAND_MODE = 65;
constexpr int RIL_REQUEST_QUERY_AVAILABLE_BAND_MODE = 66;
constexpr int RIL_REQUEST_STK_GET_PROFILE = 67;
constexpr int RIL_REQUEST_STK_SET_PROFILE = 68;
constexpr int RIL_REQUEST_STK_SEND_ENVELOPE_COMMAND = 69;
constexpr int RIL_REQUEST_STK_SEND_TERMINAL_RESPONSE = 70;
constexpr int RIL_REQUEST_STK_HANDLE_CALL_SETUP_REQUESTED_FROM_SIM = 71;
constexpr int RIL_REQUEST_EXPLICIT_CALL_TRANSFER = 72;
constexpr int RIL_REQUEST_SET_PREFERRED_NETWORK_TYPE = 73;
constexpr int RIL_REQUEST_GET_PREFERRED_NETWORK_TYPE = 74;
constexpr int RIL_REQUEST_GET_NEIGHBORING_CELL_IDS = 75;
constexpr int RIL_REQUEST_SET_LOCATION_UPDATES = 76;
constexpr int RIL_REQUEST_CDMA_SET_SUBSCRIPTION_SOURCE = 77;
constexpr int RIL_REQUEST_CDMA_SET_ROAMING_PREFERENCE = 78;
constexpr int RIL_REQUEST_CDMA_QUERY_ROAMING_PREFERENCE = 79;
constexpr int RIL_REQUEST_SET_TTY_MODE = 80;
constexpr int RIL_REQUEST_QUERY_TTY_MODE = 81;
constexpr int RIL_REQUEST_CDMA_SET_PREFERRED_VOICE_PRIVACY_MODE = 82;
constexpr int RIL_REQUEST_CDMA_QUERY_PREFERRED_VOICE_PRIVACY_MODE = 83;
constexpr int RIL_REQUEST_CDMA_FLASH = 84;
constexpr int RIL_REQUEST_CDMA_BURST_DTMF = 85;
constexpr int RIL_REQUEST_CDMA_VALIDATE_AND_WRITE_AKEY = 86;
constexpr int RIL_REQUEST_CDMA_SEND_SMS = 87;
constexpr int RIL_REQUEST_CDMA_SMS_ACKNOWLEDGE = 88;
constexpr int RIL_REQUEST_GSM_GET_BROADCAST_SMS_CONFIG = 89;
constexpr int RIL_REQUEST_GSM_SET_BROADCAST_SMS_CONFIG = 90;
constexpr int RIL_REQUEST_GSM_SMS_BROADCAST_ACTIVATION = 91;
constexpr int RIL_REQUEST_CDMA_GET_BROADCAST_SMS_CONFIG = 92;
constexpr int RIL_REQUEST_CDMA_SET_BROADCAST_SMS_CONFIG = 93;
constexpr int RIL_REQUEST_CDMA_SMS_BROADCAST_ACTIVATION = 94;
constexpr int RIL_REQUEST_CDMA_SUBSCRIPTION = 95;
constexpr int RIL_REQUEST_CDMA_WRITE_SMS_TO_RUIM = 96;
constexpr int RIL_REQUEST_CDMA_DELETE_SMS_ON_RUIM = 97;
constexpr int RIL_REQUEST_DEVICE_IDENTITY = 98;
constexpr int RIL_REQUEST_EXIT_EMERGENCY_CALLBACK_MODE = 99;
constexpr int RIL_REQUEST_GET_SMSC_ADDRESS = 100;
constexpr int RIL_REQUEST_SET_SMSC_ADDRESS = 101;
constexpr int RIL_REQUEST_REPORT_SMS_MEMORY_STATUS = 102;
constexpr int RIL_REQUEST_REPORT_STK_SERVICE_IS_RUNNING = 103;
constexpr int RIL_REQUEST_CDMA_GET_SUBSCRIPTION_SOURCE = 104;
constexpr int RIL_REQUEST_ISIM_AUTHENTICATION = 105;
constexpr int RIL_REQUEST_ACKNOWLEDGE_INCOMING_GSM_SMS_WITH_PDU = 106;
constexpr int RIL_REQUEST_STK_SEND_ENVELOPE_WITH_STATUS = 107;
constexpr int RIL_REQUEST_VOICE_RADIO_TECH = 108;
constexpr int RIL_REQUEST_GET_CELL_INFO_LIST = 109;
constexpr int RIL_REQUEST_SET_UNSOL_CELL_INFO_LIST_RATE = 110;
constexpr int RIL_REQUEST_SET_INITIAL_ATTACH_APN = 111;
constexpr int RIL_REQUEST_IMS_REGISTRATION_STATE = 112;
constexpr int RIL_REQUEST_IMS_SEND_SMS = 113;

// ---------------------------------------------------------------------------------------------------------------------
// Unsolicited responses

constexpr int RIL_UNSOL_RESPONSE_RADIO_STATE_CHANGED = 1000;
constexpr int RIL_UNSOL_RESPONSE_CALL_STATE_CHANGED = 1001;
constexpr int RIL_UNSOL_RESPONSE_VOICE_NETWORK_STATE_CHANGED = 1002;
constexpr int RIL_UNSOL_RESPONSE_NEW_SMS = 1003;
constexpr int RIL_UNSOL_RESPONSE_NEW_SMS_STATUS_REPORT = 1004;
constexpr int RIL_UNSOL_RESPONSE_NEW_SMS_ON_SIM = 1005;
constexpr int RIL_UNSOL_ON_USSD = 1006;
constexpr int RIL_UNSOL_ON_USSD_REQUEST = 1007;
constexpr int RIL_UNSOL_NITZ_TIME_RECEIVED = 1008;
constexpr int RIL_UNSOL_SIGNAL_STRENGTH = 1009;
constexpr int RIL_UNSOL_DATA_CALL_LIST_CHANGED = 1010;
constexpr int RIL_UNSOL_SUPP_SVC_NOTIFICATION = 1011;
constexpr int RIL_UNSOL_STK_SESSION_END = 1012;
constexpr int RIL_UNSOL_STK_PROACTIVE_COMMAND = 1013;
constexpr int RIL_UNSOL_STK_EVENT_NOTIFY = 1014;
constexpr int RIL_UNSOL_STK_CALL_SETUP = 1015;
constexpr int RIL_UNSOL_SIM_SMS_STORAGE_FULL = 1016;
constexpr int RIL_UNSOL_SIM_REFRESH = 1017;
constexpr int RIL_UNSOL_CALL_RING = 1018;
constexpr int RIL_UNSOL_RESPONSE_SIM_STATUS_CHANGED = 1019;
constexpr int RIL_UNSOL_RESPONSE_CDMA_NEW_SMS = 1020;
constexpr int RIL_UNSOL_RESPONSE_NEW_BROADCAST_SMS = 1021;
constexpr int RIL_UNSOL_CDMA_RUIM_SMS_STORAGE_FULL = 1022;
constexpr int RIL_UNSOL_RESTRICTED_STATE_CHANGED = 1023;
constexpr int RIL_UNSOL_ENTER_EMERGENCY_CALLBACK_MODE = 1024;
constexpr int RIL_UNSOL_CDMA_CALL_WAITING = 1025;
constexpr int RIL_UNSOL_CDMA_OTA_PROVISION_STATUS = 1026;
constexpr int RIL_UNSOL_CDMA_INFO_REC = 1027;
constexpr int RIL_UNSOL_OEM_HOOK_RAW = 1028;
constexpr int RIL_UNSOL_RINGBACK_TONE = 1029;
constexpr int RIL_UNSOL_RESEND_INCALL_MUTE = 1030;
constexpr int RIL_UNSOL_CDMA_SUBSCRIPTION_SOURCE_CHANGED = 1031;
constexpr int RIL_UNSOL_CDMA_PRL_CHANGED = 1032;
constexpr int RIL_UNSOL_EXIT_EMERGENCY_CALLBACK_MODE = 1033;
constexpr int RIL_UNSOL_RIL_CONNECTED = 1034;
constexpr int RIL_UNSOL_VOICE_RADIO_TECH_CHANGED = 1035;
constexpr int RIL_UNSOL_CELL_INFO_LIST = 1036;
constexpr int RIL_UNSOL_RESPONSE_IMS_NETWORK_STATE_CHANGED = 1037;

// ---------------------------------------------------------------------------------------------------------------------
// Records

extern "C" {

struct RIL_UUS_Info {
    RIL_UUS_Type uusType;
    RIL_UUS_DCS uusDcs;
    int uusLength;  // bytes at uusData
    char* uusData;
};

struct RIL_Dial {
    char* address;
    int clir;               // 0 subscription's default, 1 invocation (restrict), 2 suppression (allow)
    RIL_UUS_Info* uusInfo;  // or null
};

struct RIL_Call {
    RIL_CallState state;
    int index;  // 3GPP TS 22.030, 6.5.5.1
    int toa;    // type of address, 129 or 145
    char isMpty;
    char isMT;
    char als;  // line: 0 the first, 1 the alternate
    char isVoice;
    char isVoicePrivacy;
    char* number;            // or null
    int numberPresentation;  // 0 allowed, 1 restricted, 2 not specified, 3 payphone
    char* name;              // or null
    int namePresentation;
    RIL_UUS_Info* uusInfo;  // or null
};

// Request and answer of call forwarding, 3GPP TS 27.007, 7.11.
struct RIL_CallForwardInfo {
    int status;
    int reason;
    int serviceClass;
    int toa;
    char* number;
    int timeSeconds;
};

// 3GPP TS 27.007, 7.17: +CSSI (MO) and +CSSU (MT).
struct RIL_SuppSvcNotification {
    int notificationType;  // 0 MO, 1 MT
    int code;
    int index;
    int type;
    char* number;  // or null
};

struct RIL_Data_Call_Response_v6 {
    int status;  // 0, or why the call failed
    int suggestedRetryTime;
    int cid;
    int active;
    char* type;       // "IP", "IPV6", "IPV4V6", "PPP"
    char* ifname;     // "veth0"
    char* addresses;  // lists, separated by blanks
    char* dnses;
    char* gateways;
};

// 3GPP TS 27.007, 8.18, +CRSM.
struct RIL_SIM_IO_v6 {
    int command;
    int fileid;
    char* path;  // hex text, or null
    int p1;
    int p2;
    int p3;
    char* data;    // hex text, or null
    char* pin2;    // or null
    char* aidPtr;  // or null
};

struct RIL_SIM_IO_Response {
    int sw1;
    int sw2;
    char* simResponse;  // hex text, or null
};

struct RIL_SMS_Response {
    int messageRef;  // TP-Message-Reference
    char* ackPDU;    // or null
    int errorCode;   // 3GPP TS 27.005, 3.2.5; -1 for none
};

struct RIL_SMS_WriteArgs {
    int status;  // 0 unread, 1 read, 2 unsent, 3 sent
    char* pdu;   // hex text
    char* smsc;  // hex text, or null for the default
};

struct RIL_AppStatus {
    RIL_AppType app_type;
    RIL_AppState app_state;
    RIL_PersoSubstate perso_substate;
    char* aid_ptr;        // or null
    char* app_label_ptr;  // or null
    int pin1_replaced;    // 1 when the universal PIN stands in for PIN1
    RIL_PinState pin1;
    RIL_PinState pin2;
};

struct RIL_CardStatus_v6 {
    RIL_CardState card_state;
    RIL_PinState universal_pin_state;
    int gsm_umts_subscription_app_index;  // indexes of `applications`, -1 for none
    int cdma_subscription_app_index;
    int ims_subscription_app_index;
    int num_applications;
    RIL_AppStatus applications[RIL_CARD_MAX_APPS];
};

struct RIL_GSM_BroadcastSmsConfigInfo {
    int fromServiceId;
    int toServiceId;
    int fromCodeScheme;
    int toCodeScheme;
    unsigned char selected;  // 1 accept, 0 do not
};

struct RIL_GW_SignalStrength {
    int signalStrength;  // 0 to 31, 99 unknown: 3GPP TS 27.007, 8.5
    int bitErrorRate;    // 0 to 7, 99 unknown
};

struct RIL_CDMA_SignalStrength {
    int dbm;   // dBm, negated
    int ecio;  // tenths of dB, negated
};

struct RIL_EVDO_SignalStrength {
    int dbm;
    int ecio;
    int signalNoiseRatio;  // 0 to 8
};

// 3GPP TS 36.133; 0x7FFFFFFF in a field says that it isn't known.
struct RIL_LTE_SignalStrength {
    int signalStrength;  // 0 to 31, 99 unknown
    int rsrp;            // dBm, negated
    int rsrq;            // dB, negated
    int rssnr;           // tenths of dB
    int cqi;
};

struct RIL_LTE_SignalStrength_v8 {
    int signalStrength;
    int rsrp;
    int rsrq;
    int rssnr;
    int cqi;
    int timingAdvance;
};

struct RIL_SignalStrength_v6 {
    RIL_GW_SignalStrength GW_SignalStrength;
    RIL_CDMA_SignalStrength CDMA_SignalStrength;
    RIL_EVDO_SignalStrength EVDO_SignalStrength;
    RIL_LTE_SignalStrength LTE_SignalStrength;
};

struct RIL_NeighboringCell {
    char* cid;  // hex text: LAC and CID in GSM, PSC in UMTS
    int rssi;
};

// Identities; 0x7FFFFFFF in a field says that it isn't known.
struct RIL_CellIdentityGsm {
    int mcc;
    int mnc;
    int lac;
    int cid;
};

struct RIL_CellIdentityWcdma {
    int mcc;
    int mnc;
    int lac;
    int cid;
    int psc;
};

struct RIL_CellIdentityCdma {
    int networkId;
    int systemId;
    int basestationId;
    int longitude;
    int latitude;
};

struct RIL_CellIdentityLte {
    int mcc;
    int mnc;
    int ci;
    int pci;
    int tac;
};

struct RIL_SignalStrengthWcdma {
    int signalStrength;
    int bitErrorRate;
};

struct RIL_CellInfoGsm {
    RIL_CellIdentityGsm cellIdentityGsm;
    RIL_GW_SignalStrength signalStrengthGsm;
};

struct RIL_CellInfoWcdma {
    RIL_CellIdentityWcdma cellIdentityWcdma;
    RIL_SignalStrengthWcdma signalStrengthWcdma;
};

struct RIL_CellInfoCdma {
    RIL_CellIdentityCdma cellIdentityCdma;
    RIL_CDMA_SignalStrength signalStrengthCdma;
    RIL_EVDO_SignalStrength signalStrengthEvdo;
};

struct RIL_CellInfoLte {
    RIL_CellIdentityLte cellIdentityLte;
    RIL_LTE_SignalStrength_v8 signalStrengthLte;
};

struct RIL_CellInfo {
    RIL_CellInfoType cellInfoType;
    int registered;
    RIL_TimeStampType timeStampType;
    uint64_t timeStamp;  // nanoseconds since boot
    union {
        RIL_CellInfoGsm gsm;
        RIL_CellInfoCdma cdma;
        RIL_CellInfoLte lte;
        RIL_CellInfoWcdma wcdma;
    } CellInfo;
};

// ---------------------------------------------------------------------------------------------------------------------
// The two tables of functions

typedef void* RIL_Token;  // names one request of Android until it is completed

typedef void (*RIL_TimedCallback)(void* param);

// What rild gives the library. Any thread may call; the callee copies what it is given.
struct RIL_Env {
    // Ends the request of `t`. With an error too `response` may carry data; null with length 0 carries none.
    void (*OnRequestComplete)(RIL_Token t, RIL_Errno e, void* response, size_t responselen);
    void (*OnUnsolicitedResponse)(int unsolResponse, const void* data, size_t datalen);
    // `callback(param)` on rild's event thread once `relativeTime` has passed; null is as soon as possible.
    void (*RequestTimedCallback)(RIL_TimedCallback callback, void* param, const struct timeval* relativeTime);
};

typedef void (*RIL_RequestFunc)(int request, void* data, size_t datalen, RIL_Token t);
typedef RIL_RadioState (*RIL_RadioStateRequest)(void);
typedef int (*RIL_Supports)(int requestCode);  // 1 supported, 0 not
typedef void (*RIL_Cancel)(RIL_Token t);
typedef const char* (*RIL_GetVersion)(void);

// What the library gives rild, which calls the functions on its event thread, one at a time. This platform's record has
// `rildInstance` in second place.
struct RIL_RadioFunctions {
    int version;
    char* rildInstance;
    RIL_RequestFunc onRequest;
    RIL_RadioStateRequest onStateRequest;
    RIL_Supports supports;
    RIL_Cancel onCancel;
    RIL_GetVersion getVersion;
};

// The entry that rild looks up. `env` lives as long as the process, and so does the result.
__attribute__((visibility("default"))) const RIL_RadioFunctions* RIL_Init(const struct RIL_Env* env, int argc,
                                                                          char** argv);

}  // extern "C"

// ---------------------------------------------------------------------------------------------------------------------
// Sizes on the device

// True for another word size, where the same declarations simply grow.
#define RIL_DEVICE_SIZE(type, size) static_assert(sizeof(void*) != 4 || sizeof(type) == (size), #type)
RIL_DEVICE_SIZE(RIL_UUS_Info, 16);
RIL_DEVICE_SIZE(RIL_Dial, 12);
RIL_DEVICE_SIZE(RIL_Call, 40);
RIL_DEVICE_SIZE(RIL_CallForwardInfo, 24);
RIL_DEVICE_SIZE(RIL_SuppSvcNotification, 20);
RIL_DEVICE_SIZE(RIL_Data_Call_Response_v6, 36);
RIL_DEVICE_SIZE(RIL_SIM_IO_v6, 36);
RIL_DEVICE_SIZE(RIL_SIM_IO_Response, 12);
RIL_DEVICE_SIZE(RIL_SMS_Response, 12);
RIL_DEVICE_SIZE(RIL_SMS_WriteArgs, 12);
RIL_DEVICE_SIZE(RIL_AppStatus, 32);
RIL_DEVICE_SIZE(RIL_CardStatus_v6, 280);
RIL_DEVICE_SIZE(RIL_GSM_BroadcastSmsConfigInfo, 20);
RIL_DEVICE_SIZE(RIL_GW_SignalStrength, 8);
RIL_DEVICE_SIZE(RIL_CDMA_SignalStrength, 8);
RIL_DEVICE_SIZE(RIL_EVDO_SignalStrength, 12);
RIL_DEVICE_SIZE(RIL_LTE_SignalStrength, 20);
RIL_DEVICE_SIZE(RIL_SignalStrength_v6, 48);
RIL_DEVICE_SIZE(RIL_LTE_SignalStrength_v8, 24);
RIL_DEVICE_SIZE(RIL_NeighboringCell, 8);
RIL_DEVICE_SIZE(RIL_CellIdentityGsm, 16);
RIL_DEVICE_SIZE(RIL_CellIdentityWcdma, 20);
RIL_DEVICE_SIZE(RIL_CellIdentityCdma, 20);
RIL_DEVICE_SIZE(RIL_CellIdentityLte, 20);
RIL_DEVICE_SIZE(RIL_CellInfoGsm, 24);
RIL_DEVICE_SIZE(RIL_CellInfoWcdma, 28);
RIL_DEVICE_SIZE(RIL_CellInfoCdma, 40);
RIL_DEVICE_SIZE(RIL_CellInfoLte, 44);
RIL_DEVICE_SIZE(RIL_CellInfo, 64);
RIL_DEVICE_SIZE(RIL_SignalStrengthWcdma, 8);
RIL_DEVICE_SIZE(RIL_Env, 12);
RIL_DEVICE_SIZE(RIL_RadioFunctions, 28);
#undef RIL_DEVICE_SIZE
