// Outgoing mail server, the four mail recipient slots and the two FTP servers.
#include <string>

#include "sdk/ParamsCommon.h"

using namespace kovo::param;

namespace {

const Field kSmtpFields[] = {
    KOVO_FIELD(SMTP_CONFIG, szServerIP, "SMTP_ServerIP", Text),
    KOVO_FIELD(SMTP_CONFIG, nServerPort, "SMTP_ServerPort", Int),
    KOVO_FIELD(SMTP_CONFIG, nAuth, "SMTP_Auth", Int),
    KOVO_FIELD(SMTP_CONFIG, szUsername, "SMTP_Username", Text),
    KOVO_FIELD(SMTP_CONFIG, szPassword, "SMTP_Password", Text),
    KOVO_FIELD(SMTP_CONFIG, szFromEmail, "SMTP_FromEmail", Text),
};

// The slot travels apart from these: as a value on a Set, inside a key on a Get.
const char kSmtpIndexKey[] = "SMTP_Index";
const Field kRecipientFields[] = {
    KOVO_FIELD(SMTP_NOTIFY, szToEmail, "SMTP_ToEmail", Text),
    KOVO_FIELD(SMTP_NOTIFY, szCcEmail, "SMTP_CcEmail", Text),
    KOVO_FIELD(SMTP_NOTIFY, szSubject, "SMTP_Subject", Text),
};

const Field kFtpFields[] = {
    KOVO_FIELD(FTP_CONFIG, nClientMode, "FTP_ClientMode", SwitchOff),
    KOVO_FIELD(FTP_CONFIG, szServerIP, "FTP_ServerIP", Text),
    KOVO_FIELD(FTP_CONFIG, nServerPort, "FTP_ServerPort", Int),
    KOVO_FIELD(FTP_CONFIG, szUsername, "FTP_Username", Text),
    KOVO_FIELD(FTP_CONFIG, szPassword, "FTP_Password", Text),
    KOVO_FIELD(FTP_CONFIG, szFilePath, "FTP_FilePath", Text),
    KOVO_FIELD(FTP_CONFIG, szServerIP2, "FTP_ServerIP2", Text),
    KOVO_FIELD(FTP_CONFIG, nServerPort2, "FTP_ServerPort2", Int),
    KOVO_FIELD(FTP_CONFIG, szUsername2, "FTP_Username2", Text),
    KOVO_FIELD(FTP_CONFIG, szPassword2, "FTP_Password2", Text),
    KOVO_FIELD(FTP_CONFIG, szFilePath2, "FTP_FilePath2", Text),
};

const Messages kSetSmtp = {"SetSMTPConfig[%d] invalid input.\n", "SetSMTPConfig[%d] device null.\n",
                           "SetSMTPConfig[%d] get pppoe setting failed.\n", "SetSMTPConfig Successfully\n"};
const Messages kGetSmtp = {"GetSMTPConfig[%d] invalid input.\n", "GetSMTPConfig[%d] device null.\n",
                           "GetSMTPConfig[%d] get pppoe setting failed.\n", "GetSMTPConfig Successfully\n"};
const Messages kSetNotify = {"SetSMTPNotify[%d] invalid input.\n", "SetSMTPNotify[%d] device null.\n",
                             "SetSMTPNotify[%d] set smtp notify failed.\n", "SetSMTPNotify Successfully\n"};
const Messages kGetNotify = {"GetSMTPNotify[%d] invalid input.\n", "GetSMTPNotify[%d] device null.\n",
                             "GetSMTPNotify[%d] get smtp notify failed.\n", "GetSMTPNotify Successfully\n"};
const Messages kSetFtp = {"SetFTPConfig[%d] invalid input.\n", "SetFTPConfig[%d] device null.\n",
                          "SetFTPConfig[%d] get pppoe setting failed.\n", "SetFTPConfig Successfully\n"};
const Messages kGetFtp = {"GetFTPConfig[%d] invalid input.\n", "GetFTPConfig[%d] device null.\n",
                          "GetFTPConfig[%d] get pppoe setting failed.\n", "GetFTPConfig Successfully\n"};

long refuse(const char* text, int line) { return traceAndReturn(text, line, kInvalidArg); }

bool validSlot(int index) { return inRange(index, 1, 4); }

// Checks of an FTP record with the client switched on. The first server's
// address is both required and refused, so the client cannot be switched
// on through this call; the second server's checks stay behind them.
long checkFtpClient(const FTP_CONFIG& ftp) {
    if (!hasText(ftp.szServerIP) || !hasText(ftp.szFilePath) || !hasText(ftp.szUsername) ||
        !inRange(ftp.nServerPort, 0, 65535))
        return refuse("SetFTPConfig[%d] invalid ftp1 config.\n", __LINE__);
    if (hasText(ftp.szServerIP)) return refuse("SetFTPConfig[%d] invalid ftp server 1.\n", __LINE__);
    if (hasText(ftp.szServerIP2)) {
        if (!inRange(ftp.nServerPort2, 0, 65535))
            return refuse("SetFTPConfig[%d] invalid ftp server 2 port.\n", __LINE__);
        if (!hasText(ftp.szUsername2)) return refuse("SetFTPConfig[%d] invalid ftp2 user.\n", __LINE__);
        if (!hasText(ftp.szFilePath2)) return refuse("SetFTPConfig[%d] invalid ftp 2 file path.\n", __LINE__);
    }
    return kOk;
}

}  // namespace

long Kovo_SetSMTPConfig(long lDeviceID, SMTP_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetSmtp, __LINE__);
    if (!hasText(pConfig->szServerIP) || !inRange(pConfig->nServerPort, 1, 65535))
        return refuse("SetSMTPConfig[%d] invalid ip or port.\n", __LINE__);
    if (pConfig->nAuth &&
        (!hasText(pConfig->szUsername) || !hasText(pConfig->szPassword) || !hasText(pConfig->szFromEmail)))
        return refuse("SetSMTPConfig[%d] invalid auth setting.\n", __LINE__);
    // Authentication goes out as the number 1 or 0, whatever non-zero value the caller used.
    SMTP_CONFIG sent = *pConfig;
    sent.nAuth = pConfig->nAuth ? 1 : 0;
    return setRecord(lDeviceID, kNoChannel, &sent, kSmtpFields, kSetSmtp, __LINE__);
}

long Kovo_GetSMTPConfig(long lDeviceID, SMTP_CONFIG* pConfig) {
    return getRecord(lDeviceID, kNoChannel, pConfig, kSmtpFields, kGetSmtp, __LINE__);
}

long Kovo_SetSMTPNotify(long lDeviceID, SMTP_NOTIFY* pNotify) {
    if (!validDevice(lDeviceID) || !pNotify) return reject(kSetNotify, __LINE__);
    if (!validSlot(pNotify->nIndex)) return refuse("SetSMTPNotify[%d] invalid index.\n", __LINE__);
    if (!hasText(pNotify->szToEmail) || !hasText(pNotify->szCcEmail) || !hasText(pNotify->szSubject))
        return refuse("SetSMTPNotify[%d] invalid argument.\n", __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetNotify, __LINE__);
    ex.addLine(std::string(kSmtpIndexKey) + ": " + std::to_string(pNotify->nIndex));
    ex.addValues(kRecipientFields, pNotify);
    return ex.finishSet(kSetNotify, __LINE__);
}

long Kovo_GetSMTPNotify(long lDeviceID, SMTP_NOTIFY* pNotify) {
    if (!validDevice(lDeviceID) || !pNotify) return reject(kGetNotify, __LINE__);
    if (!validSlot(pNotify->nIndex)) return refuse("GetSMTPNotify[%d] invalid index.\n", __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kGetNotify, __LINE__);
    ex.addLine(std::string(kSmtpIndexKey) + "_" + std::to_string(pNotify->nIndex));
    return ex.finishGet(kRecipientFields, pNotify, kGetNotify, __LINE__);
}

long Kovo_SetFTPConfig(long lDeviceID, FTP_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetFtp, __LINE__);
    if (pConfig->nClientMode && checkFtpClient(*pConfig) != kOk) return outcome(kInvalidArg);
    return setRecord(lDeviceID, kNoChannel, pConfig, kFtpFields, kSetFtp, __LINE__);
}

long Kovo_GetFTPConfig(long lDeviceID, FTP_CONFIG* pConfig) {
    return getRecord(lDeviceID, kNoChannel, pConfig, kFtpFields, kGetFtp, __LINE__);
}
