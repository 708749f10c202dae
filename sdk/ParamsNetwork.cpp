// Network settings: wired IPv4, PPPoE dial-up, dynamic DNS and wireless.
// DHCP reads as on only for an exact "ON"; the enable switches of this family
// read as off only for an exact "OFF".
#include <cstring>

#include "sdk/ParamsCommon.h"

using namespace kovo::param;

namespace {

const Field kNetFields[] = {
    KOVO_FIELD(NET_CONFIG, szIP, "IPV4_IPAddr", Text),
    KOVO_FIELD(NET_CONFIG, szNetMask, "IPV4_NetMask", Text),
    KOVO_FIELD(NET_CONFIG, szGateway, "IPV4_GateWay", Text),
    KOVO_FIELD(NET_CONFIG, nDHCPMode, "IPV4_DHCPMode", SwitchOn),
    KOVO_FIELD(NET_CONFIG, szMainDNS, "IPV4_MainDNS", Text),
    KOVO_FIELD(NET_CONFIG, szSubDNS, "IPV4_SubDNS", Text),
};

const Field kPPPoEFields[] = {
    KOVO_FIELD(PPPOE_CONFIG, nEnable, "pppoe_Enable", SwitchOff),
    KOVO_FIELD(PPPOE_CONFIG, szUser, "pppoe_Username", Text),
    KOVO_FIELD(PPPOE_CONFIG, szPassword, "pppoe_Password", Text),
};

const Field kDDNSFields[] = {
    KOVO_FIELD(DDNS_CONFIG, nEnable, "DDNS_Enable", SwitchOff),
    KOVO_FIELD(DDNS_CONFIG, szServer, "DDNS_Server", Text),
    KOVO_FIELD(DDNS_CONFIG, szDomain, "DDNS_Domain", Text),
    KOVO_FIELD(DDNS_CONFIG, szUsername, "DDNS_Username", Text),
    KOVO_FIELD(DDNS_CONFIG, szPassword, "DDNS_Password", Text),
};

// The camera keeps its operation mode: a Set names the key without a value.
const char kWiFiModeKey[] = "WiFi_OperationMode";

const Field kWiFiFields[] = {
    KOVO_FIELD(WIFI_CONFIG, nEnable, "WiFi_Enable", SwitchOff),
    KOVO_FIELD(WIFI_CONFIG, szIP, "WiFi_IP", Text),
    KOVO_FIELD(WIFI_CONFIG, szSubmask, "WiFi_Submask", Text),
    KOVO_FIELD(WIFI_CONFIG, szGateway, "WiFi_Gratewall", Text),
    KOVO_FIELD(WIFI_CONFIG, szOperationMode, kWiFiModeKey, Text),
    KOVO_FIELD(WIFI_CONFIG, szChannelNumber, "WiFi_ChannelNumber", Text),
    KOVO_FIELD(WIFI_CONFIG, szSSID, "WiFi_ESSID", Text),
    KOVO_FIELD(WIFI_CONFIG, szPassword, "WiFi_Password", Text),
};

const Messages kSetNet = {"SetNetConfig[%d] input invalid.\n", "SetNetConfig[%d] device null.\n",
                          "SetNetConfig [%d] set net config failed.\n", "SetNetConfig Successfully\n"};
const Messages kGetNet = {"GetNetConfig[%d] invalid input.\n", "GetNetConfig[%d] device null.\n",
                          "GetNetConfig[%d] get network setting failed.\n", "GetNetConfig Successfully\n"};
const Messages kSetPPPoE = {"SetPPPoEConfig[%d] invalid input.\n", "SetPPPoEConfig[%d] device null.\n",
                            "SetPPPoEConfig[%d] get pppoe setting failed.\n", "SetPPPoEConfig Successfully\n"};
const Messages kGetPPPoE = {"GetPPPoEConfig[%d] invalid input.\n", "GetPPPoEConfig[%d] device null.\n",
                            "GetPPPoEConfig[%d] get pppoe setting failed.\n", "GetPPPoEConfig Successfully\n"};
const Messages kSetDDNS = {"SetDDNSConfig[%d] invalid input.\n", "SetDDNSConfig[%d] device null.\n",
                           "SetDDNSConfig[%d] get network setting failed.\n", "SetDDNSConfig Successfully\n"};
const Messages kGetDDNS = {"GetDDNSConfig[%d] invalid input.\n", "GetDDNSConfig[%d] device null.\n",
                           "GetDDNSConfig[%d] get network setting failed.\n", "GetDDNSConfig Successfully\n"};
const Messages kSetWiFi = {"SetWiFiConfig[%d] invalid input.\n", "SetWiFiConfig[%d] device null.\n",
                           "SetWiFiConfig[%d] set wifi config failed.\n", "SetWiFiConfig Successfully\n"};
const Messages kGetWiFi = {"GetWiFiConfig[%d] invalid input.\n", "GetWiFiConfig[%d] device null.\n",
                           "GetWiFiConfig[%d] get wifi config failed.\n", "GetWiFiConfig Successfully\n"};

long rejectNet(const char* text, int line) { return traceAndReturn(text, line, kInvalidArg); }

// The record checks of the wired Set, made once the device is known. With
// DHCP on every record is refused: the camera is configured statically here.
long checkNetRecord(const NET_CONFIG& net) {
    if (!hasText(net.szIP)) return rejectNet("SetNetConfig[%d] ip invalid.\n", __LINE__);
    if (!hasText(net.szGateway)) return rejectNet("SetNetConfig[%d] gateway invalid.\n", __LINE__);
    if (!hasText(net.szNetMask)) return rejectNet("SetNetConfig[%d] submask invalid.\n", __LINE__);
    if (net.nDHCPMode) {
        if (!hasText(net.szMainDNS) && !hasText(net.szSubDNS))
            return rejectNet("SetNetConfig[%d] main or sub dns invalid.\n", __LINE__);
        if (hasText(net.szMainDNS)) return rejectNet("SetNetConfig[%d] main DNS invalid.\n", __LINE__);
        if (hasText(net.szSubDNS)) return rejectNet("SetNetConfig[%d] sub DNS invalid.\n", __LINE__);
    }
    return kOk;
}

bool wifiComplete(const WIFI_CONFIG& wifi) {
    return hasText(wifi.szIP) && hasText(wifi.szSubmask) && hasText(wifi.szGateway) &&
           hasText(wifi.szOperationMode) && hasText(wifi.szChannelNumber) && hasText(wifi.szSSID) &&
           hasText(wifi.szPassword);
}

}  // namespace

long Kovo_SetNetConfig(long lDeviceID, NET_CONFIG* pNetConfig) {
    if (!validDevice(lDeviceID) || !pNetConfig) return reject(kSetNet, __LINE__);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetNet, __LINE__);
    if (checkNetRecord(*pNetConfig) != kOk) return outcome(kInvalidArg);
    ex.addValues(kNetFields, pNetConfig);
    return ex.finishSet(kSetNet, __LINE__);
}

long Kovo_GetNetConfig(long lDeviceID, NET_CONFIG* pNetConfig) {
    return getRecord(lDeviceID, kNoChannel, pNetConfig, kNetFields, kGetNet, __LINE__);
}

long Kovo_SetPPPoEConfig(long lDeviceID, PPPOE_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetPPPoE, __LINE__);
    if (pConfig->nEnable && (!hasText(pConfig->szUser) || !hasText(pConfig->szPassword)))
        return reject(kSetPPPoE, __LINE__);
    return setRecord(lDeviceID, kNoChannel, pConfig, kPPPoEFields, kSetPPPoE, __LINE__);
}

long Kovo_GetPPPoEConfig(long lDeviceID, PPPOE_CONFIG* pConfig) {
    return getRecord(lDeviceID, kNoChannel, pConfig, kPPPoEFields, kGetPPPoE, __LINE__);
}

long Kovo_SetDDNSConfig(long lDeviceID, DDNS_CONFIG* pDDNSConfig) {
    if (!validDevice(lDeviceID) || !pDDNSConfig) return reject(kSetDDNS, __LINE__);
    const DDNS_CONFIG& ddns = *pDDNSConfig;
    if (ddns.nEnable && (!hasText(ddns.szServer) || !hasText(ddns.szDomain)))
        return traceAndReturn("SetDDNSConfig[%d] invalid server or domain.\n", __LINE__, kInvalidArg);
    if (hasText(ddns.szPassword) && !hasText(ddns.szUsername))
        return traceAndReturn("SetDDNSConfig[%d] invalid user name.\n", __LINE__, kInvalidArg);
    return setRecord(lDeviceID, kNoChannel, pDDNSConfig, kDDNSFields, kSetDDNS, __LINE__);
}

long Kovo_GetDDNSConfig(long lDeviceID, DDNS_CONFIG* pDDNSConfig) {
    return getRecord(lDeviceID, kNoChannel, pDDNSConfig, kDDNSFields, kGetDDNS, __LINE__);
}

long Kovo_SetWiFiConfig(long lDeviceID, WIFI_CONFIG* pConfig) {
    if (!validDevice(lDeviceID) || !pConfig) return reject(kSetWiFi, __LINE__);
    if (pConfig->nEnable && !wifiComplete(*pConfig))
        return traceAndReturn("SetWiFiConfig[%d] invalid config.\n", __LINE__, kInvalidArg);
    Exchange ex(lDeviceID);
    if (!ex.found()) return noDevice(kSetWiFi, __LINE__);
    for (const Field& field : Table(kWiFiFields)) {
        if (std::strcmp(field.key, kWiFiModeKey) == 0)
            ex.addLine(kWiFiModeKey);
        else
            ex.addLine(composeLine(field, pConfig));
    }
    return ex.finishSet(kSetWiFi, __LINE__);
}

long Kovo_GetWiFiConfig(long lDeviceID, WIFI_CONFIG* pConfig) {
    return getRecord(lDeviceID, kNoChannel, pConfig, kWiFiFields, kGetWiFi, __LINE__);
}
