// Factory settings of the simulated camera.
#include <string>

#include "ParamStore.h"

namespace camsim {
namespace {

using Values = std::map<std::string, std::string>;

void imaging(Values& v) {
    v["NoiseReduction"] = "Auto";
    v["WhiteBalanceMode"] = "Auto";
    v["NearLimitSetup"] = "1m";
    v["ApertureSetup"] = "Auto";
    v["ShutterSpeedSetup"] = "1/50";
    v["ExposureModeSetup"] = "Auto";
    v["DayNight"] = "ON";
    v["DayNightMode"] = "Auto";
    v["AGCSetup"] = "1";
}

void video(Values& v, const Options& o) {
    v["EncStream"] = "1";
    v["EncResolution"] = std::to_string(o.width) + ", " + std::to_string(o.height);
    v["EncBitRate"] = std::to_string(o.bitrateKbps);
    v["EncFrameRate"] = std::to_string(o.fps);
    v["EncGOP"] = std::to_string(o.fps);
    v["GopStructure"] = "IP";
    v["EncBitRateControl"] = "CBR";
    v["EncBitRateMaxQP"] = "51";
    v["EncBitRateMinQP"] = "10";
    // The sub streams.
    v["EncResolution@2"] = "352, 288";
    v["EncBitRate@2"] = "512";
    v["EncResolution@3"] = "176, 144";
    v["EncBitRate@3"] = "128";
    v["EncFrameRate@3"] = "15";
    v["EncGOP@3"] = "15";
    v["MutilVideoChannelD1"] = "ON";
    v["MutilVideoChannelCIF"] = "ON";
    v["MutilVideoChannelMJPEG"] = "ON";
    v["MutilVideoChannelSubD1"] = "OFF";
    v["VerticalFlip"] = "OFF";
    v["HorizontalFlip"] = "OFF";
    v["HDMIEnable"] = "OFF";
}

void osdAndAudio(Values& v, const Options& o) {
    v["TitleChar"] = "Kovo CamSim";
    v["TitleDisplay"] = "ON";
    v["TitleAttrib"] = "White, 5, 5";
    v["TimeDisplay"] = "ON";
    v["TimeFormat"] = "YYYY-MM-DD";
    v["TimeMode"] = "1";
    v["TimeAttrib"] = "White, 60, 5";
    v["AudioEnable"] = o.audio ? "ON" : "OFF";
    v["AudioSampleRate"] = "48000";
    v["AudioEncodeType"] = "AAC";
    v["AudioBitRate"] = "128000";
    v["AudioIn"] = "ON";
    v["AudioInVolume"] = "20";
    v["AudioOut"] = "OFF";
    v["AudioOutVolume"] = "20";
}

void ptzAndSerial(Values& v) {
    v["PTModuleFunction"] = "Setup";
    v["PTMode"] = "AutoPanStop";
    v["PTPara1"] = "1";
    v["PTPara2"] = "128";
    v["HomeFuction"] = "OFF";
    v["HomeFuctionMode"] = "Preset";
    v["HomeFuctionIndex"] = "1";
    v["HomeFuctionIdle"] = "60";
    v["Protocol"] = "PELCO_D";
    v["ComId"] = "1";
    v["DomeId"] = "1";
    v["BaudRate"] = "9600";
    v["CharLen"] = "8";
    v["ParityBit"] = "none";
    v["StopBit"] = "1";
}

void system(Values& v) {
    v["ProductSN"] = "KCS20261122000001";
    v["HardWareVersion"] = "KCS-HW-1.0";
    v["FirmWareVersion"] = "KCS-FW-2.1.2 build 20261122 (camera simulator)";
    v["CamModule"] = "SIM-1080P";
    v["NtpMode"] = "ON";
    v["NtpServer"] = "pool.ntp.org";
    v["DstZone"] = "0";
    v["DstTime"] = "OFF";
    v["Q771WatdogConfig"] = "ON";
}

void network(Values& v) {
    v["IPV4_IPAddr"] = "192.168.1.64";
    v["IPV4_NetMask"] = "255.255.255.0";
    v["IPV4_GateWay"] = "192.168.1.1";
    v["IPV4_DHCPMode"] = "OFF";
    v["IPV4_MainDNS"] = "192.168.1.1";
    v["IPV4_SubDNS"] = "8.8.8.8";
    v["pppoe_Enable"] = "OFF";
    v["pppoe_Username"] = "";
    v["pppoe_Password"] = "";
    v["DDNS_Enable"] = "OFF";
    v["DDNS_Server"] = "ddns.example.com";
    v["DDNS_Domain"] = "camera.example.com";
    v["DDNS_Username"] = "";
    v["DDNS_Password"] = "";
    v["WiFi_Enable"] = "OFF";
    v["WiFi_IP"] = "192.168.2.64";
    v["WiFi_Submask"] = "255.255.255.0";
    v["WiFi_Gratewall"] = "192.168.2.1";
    v["WiFi_OperationMode"] = "Managed";
    v["WiFi_ChannelNumber"] = "6";
    v["WiFi_ESSID"] = "KovoCam";
    v["WiFi_Password"] = "";
}

void mailAndFtp(Values& v) {
    v["SMTP_ServerIP"] = "192.168.1.10";
    v["SMTP_ServerPort"] = "25";
    v["SMTP_Auth"] = "0";
    v["SMTP_Username"] = "";
    v["SMTP_Password"] = "";
    v["SMTP_FromEmail"] = "camera@example.com";
    v["SMTP_Index"] = "1";
    v["SMTP_ToEmail"] = "operator@example.com";
    v["SMTP_CcEmail"] = "security@example.com";
    v["SMTP_Subject"] = "Camera event";
    v["FTP_ClientMode"] = "OFF";
    v["FTP_ServerIP"] = "192.168.1.10";
    v["FTP_ServerPort"] = "21";
    v["FTP_Username"] = "camera";
    v["FTP_Password"] = "";
    v["FTP_FilePath"] = "/upload";
    v["FTP_ServerIP2"] = "";
    v["FTP_ServerPort2"] = "21";
    v["FTP_Username2"] = "";
    v["FTP_Password2"] = "";
    v["FTP_FilePath2"] = "";
}

void eventLink(Values& v, const std::string& prefix) {
    const std::string p = prefix + "Link";
    v[p + "OutputEnable"] = "OFF";
    v[p + "OutputMode"] = "N.O";
    v[p + "OutputKeepTime"] = "10";
    v[p + "OutputEmailEnable"] = "OFF";
    v[p + "LocalRecordEnable"] = "ON";
    v[p + "LocalRecordStreamNumber"] = "1";
    v[p + "LocalRecordFramerate"] = "25";
    v[p + "LocalRecordKeepTime"] = "30";
    v[p + "LocalRecordFtpEnable"] = "OFF";
    v[p + "LocalRecordEmailEnable"] = "OFF";
    v[p + "LocalSnapEnable"] = "OFF";
    v[p + "LocalSnapJpegQuantity"] = "1";
    v[p + "LocalSnapIntervalTime"] = "1";
    v[p + "LocalSnapJpegQuality"] = "80";
    v[p + "LocalSnapFtpEnable"] = "OFF";
    v[p + "LocalSnapEmailEnable"] = "OFF";
}

void alarms(Values& v, const Options& o) {
    v["MotionDetectAreaNumber"] = "1";
    v["MotionDetectSensitivity"] = "50";
    v["MotionDetectArea"] = "0, 0, " + std::to_string(o.width) + ", " + std::to_string(o.height);
    v["MotionDetectAreaEnable"] = "OFF";
    v["MotionDetectAreaEnable@1"] = "ON";
    v["MotionDetectEnable"] = "ON";
    v["MotionDetectScheduleStartTime"] = "00:00:00";
    v["MotionDetectScheduleEndTime"] = "23:59:59";
    v["MotionDetectScheduleStartTime2"] = "00:00:00";
    v["MotionDetectScheduleEndTime2"] = "00:00:00";
    v["AlarmInputEnable"] = "OFF";
    v["AlarmInputMode"] = "N.O";
    v["AlarmScheduleStartTime"] = "00:00:00";
    v["AlarmScheduleEndTime"] = "23:59:59";
    v["AlarmScheduleStartTime2"] = "00:00:00";
    v["AlarmScheduleEndTime2"] = "00:00:00";
    v["NetworkDownEnable"] = "OFF";
    for (const char* prefix : {"MotionDetect", "Alarm", "NetworkDown"}) eventLink(v, prefix);
    v["AlarmInputPort"] = "1";
    v["AlarmOutputPort"] = "1";
    v["AlarmOutputMode"] = "N.O";
    v["AlarmService"] = "OFF";
    v["AlarmServerIPAddr"] = "192.168.1.10";
    v["AlarmServerPort"] = "7001";
    v["AlarmKeepaliveTimer"] = "30";
}

void storage(Values& v) {
    v["LocalStoreEnable"] = "ON";
    v["LocalStoreSequence"] = "recycle";
    v["StorageDeviceCtrl"] = "Plug-In";
    v["StorageDeviceStatus"] = "Ready";
    v["StorageDeviceDescription"] = "SD card 32 GB";
    v["StorageDeviceCapbility"] = "30535680";
    v["StorageDeviceIdleCapbility"] = "21474816";
    v["LocalStorageScheduleEnable"] = "OFF";
    v["LocalStorageScheduleStartTime"] = "08:00:00";
    v["LocalStorageScheduleEndTime"] = "18:00:00";
    v["LocalStorageScheduleEnable2"] = "OFF";
    v["LocalStorageScheduleStartTime2"] = "";
    v["LocalStorageScheduleEndTime2"] = "";
    v["LocalStorageScheduleEmailEnable"] = "OFF";
    v["LocalScheduleSnapEnable"] = "OFF";
    v["LocalScheduleSnapStartTime"] = "08:00:00";
    v["LocalScheduleSnapEndTime"] = "18:00:00";
    v["LocalScheduleSnapEnable2"] = "OFF";
    v["LocalScheduleSnapStartTime2"] = "";
    v["LocalScheduleSnapEndTime2"] = "";
    v["LocalScheduleSnapIntervalTime"] = "60";
    v["LocalScheduleSnapJpegQuality"] = "80";
    v["LocalScheduleSnapFtpEnable"] = "OFF";
    v["LocalScheduleSnapEmailEnable"] = "OFF";
    v["RemoteSnapJpegFileName"] = "";
    v["RemoteSnapJpegNum"] = "1";
    v["RemoteSnapJpegQuality"] = "80";
    v["RemoteRecordFileName"] = "";
    v["RemoteRecordCmd"] = "OFF";
}

void files(Values& v) {
    v["QueryRecordFileType"] = "AVI";
    v["QueryRecordMode"] = "Normal";
    v["QueryRecordAlarmType"] = "All";
    v["QueryRecordStartTime"] = "08:00:00";
    v["QueryRecordEndTime"] = "10:00:00";
    v["TransferFileFileType"] = "AVI";
    v["TransferFileMode"] = "Normal";
    v["TransferFileAlarmType"] = "All";
    v["TransferFileStartTime"] = "00:00:00";
    v["TransferFileEndTime"] = "23:59:59";
    v["TransferFileOption"] = "Remain";
    v["TransferFileName"] = "";
    v["ManualDownloadIP"] = "";
    v["ManualDownloadPort"] = "8000";
}

}  // namespace

void loadDefaults(std::map<std::string, std::string>& values, const Options& options) {
    imaging(values);
    video(values, options);
    osdAndAudio(values, options);
    ptzAndSerial(values);
    system(values);
    network(values);
    mailAndFtp(values);
    alarms(values, options);
    storage(values);
    files(values);
}

const std::map<std::string, std::vector<std::string>>& scopedFamilies() {
    static const std::map<std::string, std::vector<std::string>> families = {
        {"EncStream",
         {"EncResolution", "EncBitRate", "EncFrameRate", "EncGOP", "GopStructure", "EncBitRateControl",
          "EncBitRateMaxQP", "EncBitRateMinQP"}},
        {"MotionDetectAreaNumber", {"MotionDetectSensitivity", "MotionDetectArea", "MotionDetectAreaEnable"}},
        {"AlarmInputPort", {"AlarmInputMode"}},
        {"AlarmOutputPort", {"AlarmOutputMode"}},
        {"SMTP_Index", {"SMTP_ToEmail", "SMTP_CcEmail", "SMTP_Subject"}},
        {"ComId", {"Protocol", "DomeId", "BaudRate", "CharLen", "ParityBit", "StopBit"}},
    };
    return families;
}

}  // namespace camsim
