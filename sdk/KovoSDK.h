/*
 * KovoSDK.h - public interface of the Kovo camera SDK (libKovoSDK.so).
 *
 * Compiles as C11 and as C++17. Every function is a plain C export.
 *
 * Return codes
 *   Parameter functions (Kovo_Get..., Kovo_Set..., commands) return long:
 *      0  success (the camera answered with status 200)
 *     -1  invalid argument, detected before anything is sent
 *     -2  the request was sent but the reply was not status 200
 *         (a failed send or a missing reply counts as such)
 *     -3  no device is logged in under the id
 *     Kovo_PTZControl alone returns +3 (not -3) for an unknown device.
 *   Kovo_Login returns the device id (> 0), -1 when a connection fails and
 *   -108 when a proxied control channel cannot be bound.
 *   Stream functions return 0 or -1, and also -2 (no open stream),
 *   -122 (no video track), -123 (PLAY failed), -125 (DESCRIBE failed).
 *
 * Conventions
 *   Device ids are 1 or greater. Channel arguments accept -1 and above and are
 *   not sent to the camera unless stated. Records are owned by the caller; the
 *   library never keeps a pointer to them. A Get fills only the fields whose
 *   keys the camera answered; the others keep what the caller put there.
 *   Text fields are filled by zeroing the array and copying at most its full
 *   length, so a value as long as the field has no terminating NUL.
 *   Switches are int: non-zero is on.
 *   Calls on one device are serialised by the library: each parameter call,
 *   stream call and logout holds the device's lock for its whole exchange, so
 *   threads sharing a device never mix requests or replies; calls on different
 *   devices run in parallel. A logout while other threads still call the
 *   device is safe: those calls finish or return -3.
 */
#ifndef KOVO_SDK_H
#define KOVO_SDK_H

#ifdef __cplusplus
#define KOVO_EXTERN_C extern "C"
#else
#define KOVO_EXTERN_C
#endif

#define KOVO_API KOVO_EXTERN_C __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Stream enumerations and callback types ---------------------------- */

typedef enum {
    NODATA_TYPE = 0,
    RGBDATA_TYPE = 1,
    H264DATA_TYPE = 2,
    YUVDATA_TYPE = 3,
    PCMDATA_TYPE = 4,
    MJPEGDATA_TYPE = 5,
    AACDATA_TYPE = 6,
    G711DATA_TYPE = 7,
    G726DATA_TYPE = 8,
    G29DATA_TYPE = 9
} DATA_TYPE_E;

typedef enum {
    I_FRAME = 0,
    B_FRAME = 1,
    P_FRAME = 2
} FRAME_TYPE_E;

typedef enum {
    CONNECT_TYPE_NONE = 0,
    CONNECT_TYPE_UDP = 1,
    CONNECT_TYPE_TCP = 2
} CONNECT_TYPE_E;

/* All callbacks run on the stream's own assemble thread; the data pointer is
 * valid only during the call. dwUser is the value given at registration.
 * The library's threads have 256 KB stacks (so that a thousand streams fit
 * in a 32-bit process): keep large buffers off the stack in callbacks.
 * fRealDataCallBack carries no stream id: tell streams apart by dwUser. */
typedef void (*fRealDataCallBack)(DATA_TYPE_E eDataType, FRAME_TYPE_E eFrameType,
                                  unsigned char* pData, unsigned long nLength,
                                  unsigned long dwUser);
typedef void (*fDisplayDataCallBack)(long lStreamID, DATA_TYPE_E eDataType, long lWidth,
                                     long lHeight, unsigned char* pData, unsigned long dwUser);
typedef void (*fMJPEGCallBack)(long lStreamID, DATA_TYPE_E eDataType, unsigned char* pData,
                               unsigned long nLength, unsigned long dwUser);
typedef void (*fAudioCallBack)(long lStreamID, DATA_TYPE_E eDataType, unsigned char* pData,
                               unsigned long nLength, unsigned long dwUser);
typedef fAudioCallBack fAudioCallBackDecode;

/* ---- Configuration records ----------------------------------------------
 * Field order, types and array lengths are part of the binary interface. */

/* Video channels and encoding */
typedef struct {
    int ChannelIndex;       /* encoder stream to read or write */
    int ResolutionX;
    int ResolutionY;
    int EncodeBitRate;
    int FrameRate;
    int GOP;
    int gopStructure;       /* Get: 1 IBP, 2 IBBP, 3 IBBRBP, else 0 */
    int EncBitRateControl;  /* Get: 1 VBR, 0 otherwise */
    int EncBitRateMaxQP;
    int EncBitRateMinQP;
} VIDEO_ATTRIBUTE;

typedef struct {
    int nD1;     /* switches: which encoded streams run */
    int nCIF;
    int nMJPEG;
    int SubD1;
} MULTI_VIDEO_CHANNEL;

typedef struct {
    int nVerticalFlip;
    int nHorizontalFlip;
} VIDEO_FLIP;

typedef struct { int nEnable; } HDMI_CONFIG;

/* On-screen display: type 1 is the title, type 2 the time stamp.
 * Colours are "White", "Black" or "Gray"; positions 0..100.
 * A time-stamp Get reports its colour and position in the title fields. */
typedef struct {
    char title[24];
    int titledisplay;
    char titlecolor[32];
    int titleh;
    int titlev;
    int timedisplay;
    int timeformat;    /* 1 DD-MM-YYYY, 2 MM-DD-YYYY, other YYYY-MM-DD */
    int timemode;      /* 1 or 2 */
    char timecolor[32];
    int timeh;
    int timev;
} OSD_REGION;

/* Audio */
typedef struct {
    int nEnable;
    int nSampleRate;   /* 8000, 32000 or 48000 */
    int nEncodeType;   /* 0 AAC, 1 G711, 2 G729 */
    int nBitRate;      /* 10240 or more; 0 sends the record unchecked */
    int nIn;
    int nInVolume;     /* 0..31 */
    int nOut;
    int nOutVolume;    /* 0..31 */
} AUDIO_ATTRIBUTE;

/* PTZ, serial port */
typedef struct {
    int nFunction;     /* 1 Action, 0 Setup */
    int nMode;         /* 1 AutoPanStop, 0 AutoPanStart */
    int nPara1;        /* 0..3 */
    int nPara2;        /* 0..256 */
} PTMODULE_CONFIG;

typedef struct {
    int HomeFunction;
    int HomeFunctionMode;   /* 1 Tour, 2 Scan, 3 Pattern, other Preset */
    int HomeFunctionIndex;
    int HomeFunctionIdle;
} HOME_FUNCTION;

typedef struct {
    int nProtocol;     /* 0 ORV, 1 PELCO_P, 2 PELCO_D */
    int nDomeId;       /* 1..254 */
    int nBaudRate;     /* 2400, 4800, 9600 or 19200 */
    int nCharLen;      /* 7 or 8 */
    int nParityBit;    /* 0 none, 1 odd, 2 even */
    int nStopBit;      /* 1 or 2 */
} SERIALPORT_CONFIG;

/* System information and maintenance */
typedef struct {
    char szHardWareVersion[32];
    char szFirmWareVersion[256];
    char szCamModule[32];
} VERSION_INFO;

typedef struct {
    int nNtpMode;
    char szNtpServer[32];
    int nDstMode;      /* time zone, whole hours -12..12 */
    char szDstTime[32];
} DATETIME_CONFIG;

typedef struct { int nEanble; } WATCHDOG_CONFIG; /* the watchdog switch (name as published) */

/* Network */
typedef struct {
    char szIP[32];
    char szNetMask[32];
    char szGateway[32];
    int nDHCPMode;
    char szMainDNS[32];
    char szSubDNS[32];
} NET_CONFIG;

typedef struct {
    int nEnable;
    char szUser[32];
    char szPassword[32];
} PPPOE_CONFIG;

typedef struct {
    int nEnable;
    char szServer[32];
    char szDomain[32];
    char szUsername[32];
    char szPassword[32];
} DDNS_CONFIG;

typedef struct {
    int nEnable;
    char szIP[32];
    char szSubmask[32];
    char szGateway[32];
    char szOperationMode[32];  /* read back only; a Set does not send it */
    char szChannelNumber[32];
    char szSSID[32];
    char szPassword[32];
} WIFI_CONFIG;

/* Mail and FTP */
typedef struct {
    char szServerIP[32];
    int nServerPort;
    int nAuth;
    char szUsername[32];
    char szPassword[32];
    char szFromEmail[32];
} SMTP_CONFIG;

typedef struct {
    int nIndex;        /* recipient slot 1..4; set it before a Get too */
    char szToEmail[32];
    char szCcEmail[32];
    char szSubject[256];
} SMTP_NOTIFY;

typedef struct {
    int nClientMode;
    char szServerIP[32];
    int nServerPort;
    char szUsername[32];
    char szPassword[32];
    char szFilePath[256];
    char szServerIP2[32];
    int nServerPort2;
    char szUsername2[32];
    char szPassword2[32];
    char szFilePath2[256];
} FTP_CONFIG;

/* Alarms and motion detection. Times are "HH:MM:SS" texts. */
typedef struct {
    int nEnable;
    int nSensitivity;  /* 1..100 */
    int nAreaX;        /* 0..1920 */
    int nAreaY;        /* 0..1080 */
    int nAreaWidth;    /* 0..1920 */
    int nAreaHeight;   /* 0..1080 */
} MD_CONFIG;

/* What an event triggers: the sixteen trailing int fields shared by
 * MD_LINK_CONFIG, ALARM_CONFIG and NET_DOWN_PARAM, in this order. */
#define KOVO_EVENT_LINK_FIELDS                                              \
    int nLinkOutputEnable;                                                  \
    int nLinkOutputMode;            /* non-zero N.C, zero N.O */            \
    int nLinkOutputKeepTime;        /* 1..86400 */                          \
    int nLinkOutputEmailEnable;                                             \
    int nLinkLocalRecordEnable;                                             \
    int nLinkLocalRecordStreamNumber; /* 1..3 */                            \
    int nLinkLocalRecordFramerate;  /* 24, 25, 30 or 60 */                  \
    int nLinkLocalRecordKeepTime;   /* 5..300 */                            \
    int nLinkLocalRecordFtpEnable;                                          \
    int nLinkLocalRecordEmailEnable;                                        \
    int nLinkLocalSnapEnable;                                               \
    int nLinkLocalSnapJpegQuantity; /* 1..5 */                              \
    int nLinkLocalSnapIntervalTime; /* 1..6000 */                           \
    int nLinkLocalSnapJpegQuality;  /* 1..100 */                            \
    int nLinkLocalSnapFtpEnable;                                            \
    int nLinkLocalSnapEmailEnable;

typedef struct {
    int nEnable;
    char szScheduleStartTime[32];
    char szScheduleEndTime[32];
    char szScheduleStartTime2[32];
    char szScheduleEndTime2[32];
    KOVO_EVENT_LINK_FIELDS
} MD_LINK_CONFIG;

typedef struct {
    int nEnable;
    int nMode;         /* non-zero N.C, zero N.O */
    char szStartTime[32];
    char szEndTime[32];
    char szStartTime2[32];
    char szEndTime2[32];
    KOVO_EVENT_LINK_FIELDS
} ALARM_CONFIG;

typedef struct {
    int nEnable;
    KOVO_EVENT_LINK_FIELDS
} NET_DOWN_PARAM;

typedef struct { int nInputMode; } ALARMIN_CONFIG; /* 1 N.C, 0 N.O */

typedef struct { int nMode; } ALARMOUT_CONFIG; /* 1 N.C, 0 N.O */

typedef struct {
    int nAlarmService;
    char szIPAddr[32];
    int nPort;
    int nKeepaliveTimer;
} ALARM_SERVICE_CONFIG;

/* Storage and recording */
typedef struct {
    int nEnable;
    int nSequenceMode;  /* 1 once, otherwise recycle */
} STORAGE_DEVICE_MODE;

typedef struct { int nControl; } STORAGE_DEVICE_CONTROL; /* 0 Format, 1 Plug-In, 2 Un-Plug */

typedef struct {
    char szStatus[32];
    char szDescription[256];  /* only the first 32 bytes are filled */
    long lCapability;
    long lFree;
} STORAGE_DEVICE_INFO;

typedef struct {
    int nEnable;
    char szStartTime[32];
    char szEndTime[32];
    int nEnable2;
    char szStartTime2[32];
    char szEndTime2[32];
    int nEmailEnable;
} LOCAL_RECORD_PARAM;

typedef struct {
    int nEnable;
    char szStartTime[32];
    char szEndTime[32];
    int nEnable2;
    char szStartTime2[32];
    char szEndTime2[32];
    int nInterval;      /* 1..6000 */
    int nQuality;       /* 1..100 */
    int nFtpEnable;
    int nEmailEnable;
} LOCAL_SCHEDULE_SNAP_PARAM;

typedef struct {
    char szJpegFileName[256];
    int nJpegNum;       /* 1..3 */
    int nJpegQuality;   /* 1..100 */
} REMOTE_SNAP;

typedef struct {
    char szRemoteRecordFileName[256];
    int nRemoteRecordCmd;  /* non-zero starts, zero stops */
} REMOTE_RECORD_CONFIG;

/* Files on the device */
typedef struct {
    int nFileType;      /* 1 JPEG, otherwise AVI */
    int nMode;          /* 1 Alarm, otherwise Normal */
    int nAlarmType;     /* 1 IO, 2 MD, otherwise All */
    char szStartTime[32];
    char szEndTime[32];
} QUERY_FILE;

typedef struct {
    int nFileType;      /* 1 JPEG, otherwise AVI */
    int nMode;          /* non-zero Alarm, zero Normal */
    int nAlarmType;     /* 1 IO, 2 MD, otherwise All */
    char szStartTime[32];
    char szEndTime[32];
    int nFileOption;    /* non-zero Remain, zero Delete */
} FTP_BATCHFILES;

typedef struct {
    char szFileName[256];
    int nFileOption;    /* non-zero Remain, zero Delete */
} FTP_SINGLEFILE;

typedef struct { char szFileName[256]; } FTP_DELETEFILE;

typedef struct {
    int nEnable;        /* neither sent nor read */
    int nPort;          /* 0..65535 */
} DOWNLOAD_CONFIG;

/* Entry i of the list from Kovo_QueryFileList starts at byte
 * i * KOVO_FILE_LIST_ENTRY_SIZE of the block. */
#define KOVO_FILE_LIST_ENTRY_SIZE 1024

/* ---- Lifecycle, login and utilities ------------------------------------ */

/* Both return 0 and do nothing else here: the device registry is set up when
 * the library is loaded and nothing needs releasing before it is unloaded.
 * Calling Kovo_SDKInit once before the first login (and Kovo_SDKUnInit after
 * the last logout) is not required, but it is the portable habit. */
KOVO_API int Kovo_SDKInit(void);
KOVO_API int Kovo_SDKUnInit(void);
/* pszAddress: the camera's dotted IPv4 address ("192.0.2.10"); host names
 * are not resolved. A direct login may add ":port" and a path
 * ("192.0.2.10:8554/live"); the port given there wins over nPort. nPort is
 * the RTSP port (usually 554), or the proxy's port when pszProxy is given.
 * pszProxy: the proxy's dotted IPv4 address; null or empty connects directly.
 * Returns the device id (> 0), or
 *   -1   pszAddress is null or not an IPv4 address, a connection cannot be
 *        made, or the camera did not answer OPTIONS with 200 (traced as
 *        "Login connect client failed." for the first connection and
 *        "Login connect failed." for the second);
 *   -108 a proxy refused to bind the control channel (both connections are
 *        torn down). */
KOVO_API long Kovo_Login(const char* pszAddress, unsigned short nPort, const char* pszProxy);
/* 0, or -1 for an unknown id. Does not close an open stream. */
KOVO_API long Kovo_Logout(long lDeviceID);
/* Writes at most 64 bytes, terminator included: "<date> <time>_2.1.2". */
KOVO_API void GetSDKVersion(char* pszVersion);
/* Upper-case hex, two characters a byte; pszOut holds 2*nLen+1. -1 on null. */
KOVO_API int GetHexString(unsigned char* pIn, int nLen, char* pszOut);
/* printf-style trace line to standard output, followed by CR LF. */
KOVO_API void KovoTrace(const char* pszFormat, ...);

/* ---- Imaging controls ---------------------------------------------------
 * Text values pass through unchanged; a Set refuses (-1) a value that would
 * make its "key: value" line longer than 255 characters. A Get copies the
 * camera's whole value and its terminator into the caller's buffer. A reply
 * is read in one piece of at most 8192 bytes, so a Get writes fewer than
 * 8192 bytes; give it a buffer of 8192 bytes unless the camera's values are
 * known to be shorter (256 bytes hold any value a Set can write). */

KOVO_API long Kovo_GetNoiseReduction(long lDeviceID, int nChannel, char* NoiseReduction);
KOVO_API long Kovo_SetNoiseReduction(long lDeviceID, int nChannel, char* NoiseReduction);
KOVO_API long Kovo_GetWhiteBalanceMode(long lDeviceID, int nChannel, char* WhiteBalanceMode);
KOVO_API long Kovo_SetWhiteBalanceMode(long lDeviceID, int nChannel, char* WhiteBalanceMode);
KOVO_API long Kovo_GetNearLimitSetup(long lDeviceID, int nChannel, char* NearLimit);
KOVO_API long Kovo_SetNearLimitSetup(long lDeviceID, int nChannel, char* NearLimit);
KOVO_API long Kovo_GetApertureSetup(long lDeviceID, int nChannel, char* ApertureSetup);
KOVO_API long Kovo_SetApertureSetup(long lDeviceID, int nChannel, char* ApertureSetup);
KOVO_API long Kovo_GetShutterSpeed(long lDeviceID, int nChannel, char* ShutterSpeed);
KOVO_API long Kovo_SetShutterSpeed(long lDeviceID, int nChannel, char* ShutterSpeed);
KOVO_API long Kovo_GetExposureMode(long lDeviceID, int nChannel, char* ExposureMode);
KOVO_API long Kovo_SetExposureMode(long lDeviceID, int nChannel, char* ExposureMode);
KOVO_API long Kovo_GetDayNightOnOFF(long lDeviceID, int nChannel, char* DayNightOnOFF);
KOVO_API long Kovo_SetDayNightOnOFF(long lDeviceID, int nChannel, char* DayNightOnOFF);
KOVO_API long Kovo_GetDayNightMode(long lDeviceID, int nChannel, char* DayNightMode);
KOVO_API long Kovo_SetDayNightMode(long lDeviceID, int nChannel, char* DayNightMode);
KOVO_API long Kovo_GetAGCSetup(long lDeviceID, int nChannel, int* pAGC);
/* AGC is 0 or 1. */
KOVO_API long Kovo_SetAGCSetup(long lDeviceID, int nChannel, int AGC);

/* ---- Video channels and encoding --------------------------------------- */

KOVO_API long Kovo_SetChannelAttribute(long lDeviceID, VIDEO_ATTRIBUTE* pParam);
/* Set pParam->ChannelIndex to the stream wanted before the call. */
KOVO_API long Kovo_GetChannelAttribute(long lDeviceID, VIDEO_ATTRIBUTE* pParam);
KOVO_API long Kovo_SetMultiVideoChannel(long lDeviceID, MULTI_VIDEO_CHANNEL* pVideoChannel);
KOVO_API long Kovo_GetMultiVideoChannel(long lDeviceID, MULTI_VIDEO_CHANNEL* pVideoChannel);
KOVO_API long Kovo_SetVideoFlip(long lDeviceID, VIDEO_FLIP* pFlip);
KOVO_API long Kovo_GetVideoFlip(long lDeviceID, VIDEO_FLIP* pFlip);
KOVO_API long Kovo_SetHDMIConfig(long lDeviceID, int nChannel, HDMI_CONFIG* pConfig);
KOVO_API long Kovo_GetHDMIConfig(long lDeviceID, int nChannel, HDMI_CONFIG* pConfig);

/* Resolution index <-> camera text: 0 "176, 144", 1 "352, 288", 2 "704, 576",
 * 3 "720, 576", 4 "1280, 720", 5 "1920, 1080", 6 "1280, 960".
 * To: null for an unknown index. From: -1 for null, -2 for an unknown text. */
KOVO_API const char* Video_ConvertToVideoPixel(int format);
KOVO_API int Video_ConvertFromVideoPixel(char* cFormat);

/* ---- OSD regions --------------------------------------------------------
 * nOsdType: 1 title, 2 time stamp. */

KOVO_API long Kovo_SetOSDRegion(long lDeviceID, int nChannel, int nOsdType, OSD_REGION* pOsdRegion);
KOVO_API long Kovo_GetOSDRegion(long lDeviceID, int nChannel, int nOsdType, OSD_REGION* pOsdRegion);
/* Parse "colour, h, v" into titlecolor, titleh, titlev (both functions). */
KOVO_API void OSDGetTitleAttrib(OSD_REGION* pOSD, const char* src);
KOVO_API void OSDGetTimeAttrib(OSD_REGION* pOSD, const char* src);

/* ---- Audio attribute ---------------------------------------------------- */

KOVO_API long Kovo_SetAudioAttribute(long lDeviceID, int nChannel, AUDIO_ATTRIBUTE* pAudio);
KOVO_API long Kovo_GetAudioAttribute(long lDeviceID, int nChannel, AUDIO_ATTRIBUTE* pAudio);

/* ---- PTZ, serial port and auxiliary control -----------------------------
 * Kovo_PTZControl commands (lParameter is a speed or a preset number):
 *   10 up, 11 down, 12 left, 13 right, 16 zoom tele, 17 zoom wide,
 *   18 focus near, 19 focus far, 22 preset set, 23 preset call,
 *   26 left-up, 27 left-down, 28 right-up, 29 right-down, 30 stop,
 *   64 compose, 75 preset delete. Any other number returns -1.
 *   An unknown device returns +3. */

KOVO_API long Kovo_PTZControl(long lDeviceID, int nChannel, long lCommandID, long lParameter);
KOVO_API long Kovo_SetPTModuleConfig(long lDeviceID, int nChannel, PTMODULE_CONFIG* pConfig);
KOVO_API long Kovo_GetPTModuleConfig(long lDeviceID, int nChannel, PTMODULE_CONFIG* pConfig);
KOVO_API long Kovo_SetHomeFunction(long lDeviceID, HOME_FUNCTION* pHomeFunction);
KOVO_API long Kovo_GetHomeFunction(long lDeviceID, HOME_FUNCTION* pHomeFunction);
/* nComID: serial port 1..254. */
KOVO_API long Kovo_SetSerialPortConfig(long lDeviceID, int nComID, SERIALPORT_CONFIG* pSerialConfig);
KOVO_API long Kovo_GetSerialPortConfig(long lDeviceID, int nComID, SERIALPORT_CONFIG* pSerialConfig);
/* Raw bytes to the serial device: nChannel 0 or greater, len 1..32. */
KOVO_API long Kovo_TransparentTransfer(long lDeviceID, int nChannel, unsigned char* pBuf, int len);
/* lValue is sent only when pszMode is "Manual". */
KOVO_API long Kovo_AuxilControl(long lDeviceID, long lCommandID, char* pszMode, long lValue);

/* ---- System information and maintenance -------------------------------- */

/* Copies the camera's whole value and its terminator into szSN: fewer than
 * 8192 bytes (a reply is read in one piece of at most 8192 bytes). */
KOVO_API long Kovo_GetProductSN(long lDeviceID, char* szSN);
KOVO_API long Kovo_GetVersionInfo(long lDeviceID, VERSION_INFO* pVersionInfo);
KOVO_API long Kovo_SetDateTime(long lDeviceID, DATETIME_CONFIG* pDateTime);
KOVO_API long Kovo_GetDateTime(long lDeviceID, DATETIME_CONFIG* pDateTime);
KOVO_API long Kovo_SetWatchdogConfig(long lDeviceID, int nChannel, WATCHDOG_CONFIG* pConfig);
KOVO_API long Kovo_GetWatchdogConfig(long lDeviceID, int nChannel, WATCHDOG_CONFIG* pConfig);
/* Returns once the camera accepted the command; the login stays registered. */
KOVO_API long Kovo_RebootDevice(long lDeviceID);

/* ---- Network configuration ---------------------------------------------- */

KOVO_API long Kovo_SetNetConfig(long lDeviceID, NET_CONFIG* pNetConfig);
KOVO_API long Kovo_GetNetConfig(long lDeviceID, NET_CONFIG* pNetConfig);
KOVO_API long Kovo_SetPPPoEConfig(long lDeviceID, PPPOE_CONFIG* pConfig);
KOVO_API long Kovo_GetPPPoEConfig(long lDeviceID, PPPOE_CONFIG* pConfig);
KOVO_API long Kovo_SetDDNSConfig(long lDeviceID, DDNS_CONFIG* pDDNSConfig);
KOVO_API long Kovo_GetDDNSConfig(long lDeviceID, DDNS_CONFIG* pDDNSConfig);
KOVO_API long Kovo_SetWiFiConfig(long lDeviceID, WIFI_CONFIG* pConfig);
KOVO_API long Kovo_GetWiFiConfig(long lDeviceID, WIFI_CONFIG* pConfig);

/* ---- Mail and FTP services ---------------------------------------------- */

KOVO_API long Kovo_SetSMTPConfig(long lDeviceID, SMTP_CONFIG* pConfig);
KOVO_API long Kovo_GetSMTPConfig(long lDeviceID, SMTP_CONFIG* pConfig);
KOVO_API long Kovo_SetSMTPNotify(long lDeviceID, SMTP_NOTIFY* pNotify);
KOVO_API long Kovo_GetSMTPNotify(long lDeviceID, SMTP_NOTIFY* pNotify);
KOVO_API long Kovo_SetFTPConfig(long lDeviceID, FTP_CONFIG* pConfig);
KOVO_API long Kovo_GetFTPConfig(long lDeviceID, FTP_CONFIG* pConfig);

/* ---- Alarms and motion detection ---------------------------------------- */

/* area_no 1..4. */
KOVO_API long Kovo_SetMDConfig(long lDeviceID, int nChannel, int area_no, MD_CONFIG* pMDConfig);
KOVO_API long Kovo_GetMDConfig(long lDeviceID, int nChannel, int area_no, MD_CONFIG* pMDConfig);
KOVO_API long Kovo_SetMDLinkConfig(long lDeviceID, int nChannel, MD_LINK_CONFIG* pConfig);
KOVO_API long Kovo_GetMDLinkConfig(long lDeviceID, int nChannel, MD_LINK_CONFIG* pConfig);
KOVO_API long Kovo_SetAlarmConfig(long lDeviceID, ALARM_CONFIG* pAlarmConfig);
KOVO_API long Kovo_GetAlarmConfig(long lDeviceID, ALARM_CONFIG* pAlarmConfig);
KOVO_API long Kovo_SetNetDownConfig(long lDeviceID, NET_DOWN_PARAM* pParam);
KOVO_API long Kovo_GetNetDownConfig(long lDeviceID, NET_DOWN_PARAM* pParam);
/* nAlarmIn_no 1..4. */
KOVO_API long Kovo_SetAlarmInConfig(long lDeviceID, int nAlarmIn_no, ALARMIN_CONFIG* pAlarmInConfig);
KOVO_API long Kovo_GetAlarmInConfig(long lDeviceID, int nAlarmIn_no, ALARMIN_CONFIG* pAlarmInConfig);
/* nPort 1..2. */
KOVO_API long Kovo_SetAlarmOutConfig(long lDeviceID, int nPort, ALARMOUT_CONFIG* pAlarmOutConfig);
KOVO_API long Kovo_GetAlarmOutConfig(long lDeviceID, int nPort, ALARMOUT_CONFIG* pAlarmOutConfig);
KOVO_API long Kovo_SetAlarmServiceConfig(long lDeviceID, ALARM_SERVICE_CONFIG* pConfig);
KOVO_API long Kovo_GetAlarmServiceConfig(long lDeviceID, ALARM_SERVICE_CONFIG* pConfig);

/* 1 when szTime is an 8-character "HH:MM:SS" clock time, else 0. */
KOVO_API int CheckTime(char* szTime);
/* 1 when both times are valid and begin is not later than end, else 0. */
KOVO_API int CheckTimeRange(char* begin, char* end);

/* ---- Storage and recording ---------------------------------------------- */

KOVO_API long Kovo_SetStorageMode(long lDeviceID, STORAGE_DEVICE_MODE* pMode);
KOVO_API long Kovo_GetStorageMode(long lDeviceID, STORAGE_DEVICE_MODE* pMode);
KOVO_API long Kovo_SetStorageControl(long lDeviceID, STORAGE_DEVICE_CONTROL* pControl);
KOVO_API long Kovo_GetStorageControl(long lDeviceID, STORAGE_DEVICE_CONTROL* pControl);
KOVO_API long Kovo_GetStorageInfo(long lDeviceID, STORAGE_DEVICE_INFO* pInfo);
KOVO_API long Kovo_SetLocalRecordParam(long lDeviceID, LOCAL_RECORD_PARAM* pParam);
KOVO_API long Kovo_GetLocalRecordParam(long lDeviceID, LOCAL_RECORD_PARAM* pParam);
KOVO_API long Kovo_SetLocalScheduleSnapParam(long lDeviceID, LOCAL_SCHEDULE_SNAP_PARAM* pParam);
KOVO_API long Kovo_GetLocalScheduleSnapParam(long lDeviceID, LOCAL_SCHEDULE_SNAP_PARAM* pParam);
KOVO_API long Kovo_RemoteSnap(long lDeviceID, REMOTE_SNAP* pSnap);
KOVO_API long Kovo_SetRemoteRecordConfig(long lDeviceID, REMOTE_RECORD_CONFIG* pConfig);

/* ---- Files on the device ------------------------------------------------ */

/* Sets the search criteria; collect the names with Kovo_QueryFileList. */
KOVO_API long Kovo_QueryFile(long lDeviceID, QUERY_FILE* pFile);
/* On names found: *count gets their number and *filelist one block holding
 * name i at byte i * KOVO_FILE_LIST_ENTRY_SIZE. The block is the caller's:
 * release it with delete[] or Kovo_FreeFileList. With no names found both
 * stay untouched; the result is still 0. */
KOVO_API long Kovo_QueryFileList(long lDeviceID, int* count, char*** filelist);
/* Releases the block that Kovo_QueryFileList returns (for C applications
 * that cannot use array delete). A null list is ignored. */
KOVO_API void Kovo_FreeFileList(char** list);
KOVO_API long Kovo_DeleteFile(long lDeviceID, FTP_DELETEFILE* pDelete);
KOVO_API long Kovo_UploadSingleFile(long lDeviceID, FTP_SINGLEFILE* pFile);
KOVO_API long Kovo_UploadBatchFiles(long lDeviceID, FTP_BATCHFILES* pFiles);
/* The camera sends manual downloads to this client's address at nPort. */
KOVO_API long Kovo_SetDownloadConfig(long lDeviceID, DOWNLOAD_CONFIG* pConfig);
KOVO_API long Kovo_GetDownloadConfig(long lDeviceID, DOWNLOAD_CONFIG* pConfig);

/* ---- Live stream ---------------------------------------------------------
 * One stream per device, addressed by the device id. Open the stream before
 * setting callbacks; close it before opening again or logging out. */

/* nChannel: the camera's video channel, 0 or greater (0 on a one-channel
 * camera); lStreamType: the encoder stream, 0 or greater (0 the main stream);
 * lStreamMode: 0 or greater, reserved (0); lBufPoolSize: 0 or greater,
 * reserved (0). These four are checked but not sent: the stream is the one
 * the camera's DESCRIBE offers for the login address (add a path to it at
 * login to choose another). A negative value returns -1.
 * ConnectType: CONNECT_TYPE_UDP or CONNECT_TYPE_TCP (only TCP delivers
 * frames, interleaved in the RTSP connection).
 * 0, -1 (argument, device or SDP), -125 DESCRIBE, -122 no video, -123 PLAY.
 * After -125 or -122 the device id must not be used again. */
KOVO_API long Kovo_OpenStream(long lDeviceID, int nChannel, long lStreamType, long lStreamMode,
                              int ConnectType, long lBufPoolSize);
KOVO_API long Kovo_CloseStream(long lDeviceID);
/* Window handle handed to the next stream opened. */
KOVO_API long Kovo_SetVideoWnd(long lDeviceID, unsigned long hWnd);
/* -2 when no stream is open. */
KOVO_API long Kovo_StartDecode(long lStreamID);
KOVO_API long Kovo_StopDecode(long lStreamID);
/* H.264 frames (Annex B, from the first key frame on) reach cbRealData only
 * when eDataType is H264DATA_TYPE. -1 when no stream is open. */
KOVO_API long Kovo_SetRealDataCallBack(long lDeviceID, DATA_TYPE_E eDataType,
                                       fRealDataCallBack cbRealData, unsigned long dwUser);
KOVO_API long Kovo_SetDisplayDataCallBack(long lDeviceID, DATA_TYPE_E eDataType,
                                          fDisplayDataCallBack cbDisplayData,
                                          unsigned long dwUser);
/* Complete JPEG images of a Motion-JPEG stream. */
KOVO_API long Kovo_SetMJPEGCallBack(long lDeviceID, fMJPEGCallBack cbMJPEGData,
                                    unsigned long dwUser);
/* AAC access units, each behind an ADTS header. */
KOVO_API long Kovo_SetAudioCallBack(long lStreamID, fAudioCallBack cbAudioDataFunc,
                                    unsigned long dwUser);

/* ---- Link options (library extensions; all off by default) ---------------
 * With none set, every exchange behaves as the calls above describe: blocking
 * reads, no keep-alive, no events. The queue bound alone is always on. */
typedef struct {
    int nConnectTimeoutMs;  /* bound on each TCP connect of a login or reconnect; 0: the system's own */
    int nReplyTimeoutMs;    /* bound on the wait for each reply (and on sending each request to a
                               camera that stops reading); 0: wait as long as it takes */
    int nStallTimeoutMs;    /* an open stream without media for this long reports KOVO_EVENT_STREAM_STALLED; 0: never */
    int nKeepAliveSec;      /* a keep-alive request on the streaming session every N s; 0: none;
                               -1: half the Session timeout the camera announced (60 s when it names none) */
    int nReconnect;         /* 1: after a lost stream connection or a stall, log in again and reopen the
                               stream under the same device id, until it works or the stream is closed */
    int nReconnectMaxMs;    /* longest wait between attempts; waits double from 500 ms; 0: 30000 */
    int nQueueLimitKB;      /* most bytes a stream holds for a slow application; 0: 65536 */
} KOVO_LINK_OPTIONS;

/* lDeviceID 0 sets the defaults for later logins (so they bound Kovo_Login
 * itself); a logged-in id changes that device alone, its open stream
 * included (at the stream's next packet, or within 5 s). 0, -1 (null record
 * or a negative field), -3 (unknown id). */
KOVO_API long Kovo_SetLinkOptions(long lDeviceID, const KOVO_LINK_OPTIONS* pOptions);
KOVO_API long Kovo_GetLinkOptions(long lDeviceID, KOVO_LINK_OPTIONS* pOptions);

typedef enum {
    KOVO_EVENT_STREAM_STARTED = 1,   /* first frame of an opened or reopened stream delivered */
    KOVO_EVENT_STREAM_STALLED = 2,   /* no media for nStallTimeoutMs; lDetail: ms since the last byte */
    KOVO_EVENT_STREAM_RESUMED = 3,   /* media flows again after a stall */
    KOVO_EVENT_CONNECTION_LOST = 4,  /* the camera closed or reset the stream connection; lDetail: errno or 0 */
    KOVO_EVENT_RECONNECTING = 5,     /* lDetail: attempt number, from 1 */
    KOVO_EVENT_RECONNECTED = 6,      /* logged in again and the stream reopened under the same id */
    KOVO_EVENT_FRAMES_DROPPED = 7,   /* the queue limit was reached; lDetail: bytes dropped */
    KOVO_EVENT_KEEPALIVE_FAILED = 8  /* a keep-alive got no 200 reply in time */
} KOVO_EVENT_E;

/* Runs on a library thread, never while a library lock is held: the
 * application may call Kovo_CloseStream or Kovo_Logout from it. May be set
 * before Kovo_OpenStream and stays set across reconnects. */
typedef void (*fEventCallBack)(long lDeviceID, KOVO_EVENT_E eEvent, long lDetail, unsigned long dwUser);
KOVO_API long Kovo_SetEventCallBack(long lDeviceID, fEventCallBack cbEvent, unsigned long dwUser);

typedef enum {
    KOVO_ERR_NONE = 0,
    KOVO_ERR_INVALID_ARG = 1,
    KOVO_ERR_NO_DEVICE = 2,
    KOVO_ERR_REFUSED = 3,      /* nothing listens at the address */
    KOVO_ERR_UNREACHABLE = 4,  /* the connect timed out or no route */
    KOVO_ERR_TIMEOUT = 5,      /* no reply within nReplyTimeoutMs */
    KOVO_ERR_CLOSED = 6,       /* the camera closed or reset the connection */
    KOVO_ERR_STATUS = 7,       /* a reply other than 200 */
    KOVO_ERR_PROTOCOL = 8      /* a reply the library could not read */
} KOVO_ERROR_E;

/* What made the calling thread's last Kovo_ call fail; KOVO_ERR_NONE after a
 * success. pnStatus (may be NULL) receives that call's RTSP status, 0 when none. */
KOVO_API int Kovo_GetLastError(int* pnStatus);

/* Every line the library would print goes to cbTrace instead, without its
 * line end, one call per line, never two calls at once. NULL: standard
 * output again (the default). */
typedef void (*fTraceCallBack)(const char* pszLine, unsigned long dwUser);
KOVO_API long Kovo_SetTraceCallBack(fTraceCallBack cbTrace, unsigned long dwUser);

/* ---- Frame information and the standards receive mode (extensions) ------- */
typedef struct {
    int nStandardRtp;   /* 1: receive as a standards-following client; 0: the rules above (default) */
} KOVO_STREAM_OPTIONS;
/* Applies to the next Kovo_OpenStream of the device (and to its reconnects). 0, -1, -3. */
KOVO_API long Kovo_SetStreamOptions(long lDeviceID, const KOVO_STREAM_OPTIONS* pOptions);

typedef struct {
    long lDeviceID;
    DATA_TYPE_E eDataType;         /* H264DATA_TYPE, MJPEGDATA_TYPE or AACDATA_TYPE */
    FRAME_TYPE_E eFrameType;       /* I_FRAME or P_FRAME for video; I_FRAME for audio */
    unsigned int nRtpTimestamp;    /* of the frame's packets */
    long long llPts;               /* microseconds since this medium's first delivered frame, on
                                      its RTP clock (wrap-arounds unrolled) */
    long long llNtpTime;           /* the camera's wall clock for this frame from RTCP sender
                                      reports, microseconds since 1970-01-01 UTC; 0 until the
                                      first report of this medium */
    long long llArrivalTime;       /* this host's wall clock when the frame completed, microseconds since 1970 */
    unsigned int nSequence;        /* RTP sequence number of the frame's first packet */
    int nDiscontinuity;            /* 1 when packets were lost or dropped since the previous frame of this medium */
    int nWidth;                    /* picture size when known (JPEG header, SPS, else the SDP), else 0 */
    int nHeight;
} KOVO_FRAME_INFO;

/* Every frame of every medium of the device's stream, with its information,
 * alongside the other callbacks. May be set before Kovo_OpenStream. */
typedef void (*fFrameCallBack)(const KOVO_FRAME_INFO* pInfo, const unsigned char* pData,
                               unsigned long nLength, unsigned long dwUser);
KOVO_API long Kovo_SetFrameCallBack(long lDeviceID, fFrameCallBack cbFrame, unsigned long dwUser);

typedef struct {
    unsigned long long ullBytes;         /* media bytes received */
    unsigned long long ullPackets;       /* RTP packets received */
    unsigned long long ullFrames;        /* frames delivered */
    unsigned long long ullKeyFrames;
    unsigned long long ullLostPackets;   /* missing RTP sequence numbers */
    unsigned long long ullDroppedFrames; /* frames not delivered: loss, malformed data, queue limit */
    double dFrameRate;                   /* delivered frames per second over the last 2 s */
    double dBitRate;                     /* received bits per second over the last 2 s */
    long long llLastFrameAgeMs;          /* time since the last delivered frame; -1 before the first */
} KOVO_STREAM_STATS;
/* Video and audio of the open stream added together. 0, -1, -2 (no open stream), -3. */
KOVO_API long Kovo_GetStreamStatistics(long lDeviceID, KOVO_STREAM_STATS* pStats);

#ifdef __cplusplus
}
#endif

#endif /* KOVO_SDK_H */
