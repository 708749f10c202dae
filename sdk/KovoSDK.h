/*
 * KovoSDK.h - public interface of the Kovo camera SDK (libKovoSDK.so).
 *
 * Compiles as C11 and as C++17. Every function is a plain C export.
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

/* ---- Lifecycle, login and utilities ------------------------------------ */

KOVO_API int Kovo_SDKInit(void);
KOVO_API int Kovo_SDKUnInit(void);
KOVO_API long Kovo_Login(const char* pszAddress, unsigned short nPort, const char* pszProxy);
KOVO_API long Kovo_Logout(long lDeviceID);
KOVO_API void GetSDKVersion(char* pszVersion);
KOVO_API int GetHexString(unsigned char* pIn, int nLen, char* pszOut);
KOVO_API void KovoTrace(const char* pszFormat, ...);

#ifdef __cplusplus
}
#endif

#endif /* KOVO_SDK_H */
