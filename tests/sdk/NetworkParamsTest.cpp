// Network, mail and FTP settings against the fake camera: the lines each Set
// sends, the conversion of answers (the DHCP "ON" rule against the enable
// "OFF" rule, long texts), the record checks and their order, the traces.
#include <string>

#include "ParamTestSupport.h"

using namespace kovo::test;

namespace {

NET_CONFIG staticNet() {
    NET_CONFIG net{};
    fill(net.szIP, "10.0.0.2");
    fill(net.szNetMask, "255.255.255.0");
    fill(net.szGateway, "10.0.0.1");
    return net;
}

WIFI_CONFIG fullWiFi() {
    WIFI_CONFIG wifi{};
    wifi.nEnable = 1;
    fill(wifi.szIP, "192.168.1.9");
    fill(wifi.szSubmask, "255.255.0.0");
    fill(wifi.szGateway, "192.168.1.1");
    fill(wifi.szOperationMode, "Managed");
    fill(wifi.szChannelNumber, "6");
    fill(wifi.szSSID, "cams");
    fill(wifi.szPassword, "secret");
    return wifi;
}

SMTP_CONFIG smtpServer() {
    SMTP_CONFIG smtp{};
    fill(smtp.szServerIP, "mail.example");
    smtp.nServerPort = 25;
    return smtp;
}

SMTP_NOTIFY notifySlot(int index) {
    SMTP_NOTIFY notify{};
    notify.nIndex = index;
    fill(notify.szToEmail, "ops@example");
    fill(notify.szCcEmail, "cc@example");
    fill(notify.szSubject, "motion");
    return notify;
}

// An FTP record with the client on and everything filled in.
FTP_CONFIG ftpClient() {
    FTP_CONFIG ftp{};
    ftp.nClientMode = 1;
    fill(ftp.szServerIP, "ftp.example");
    ftp.nServerPort = 21;
    fill(ftp.szUsername, "cam");
    fill(ftp.szFilePath, "/up");
    return ftp;
}

// Calls set on a copy of record after edit has changed it.
template <typename Record, typename Edit>
long with(Record record, Edit edit, long (*set)(long, Record*), long id) {
    edit(record);
    return set(id, &record);
}

const std::string k40(40, 'n');
const std::string k300(300, 'p');

TEST(NetworkParams, SetLines) {
    runSetLinesCases({
        {"net, DHCP off, DNS unchecked and sent empty",
         [](long id) { NET_CONFIG n = staticNet(); return Kovo_SetNetConfig(id, &n); },
         {"IPV4_IPAddr: 10.0.0.2", "IPV4_NetMask: 255.255.255.0", "IPV4_GateWay: 10.0.0.1", "IPV4_DHCPMode: OFF",
          "IPV4_MainDNS: ", "IPV4_SubDNS: "}},
        {"pppoe off with empty account", [](long id) { PPPOE_CONFIG p{}; return Kovo_SetPPPoEConfig(id, &p); },
         {"pppoe_Enable: OFF", "pppoe_Username: ", "pppoe_Password: "}},
        {"pppoe on",
         [](long id) {
             return with(PPPOE_CONFIG{}, [](PPPOE_CONFIG& p) { p.nEnable = 7; fill(p.szUser, "u"); fill(p.szPassword, "pw"); },
                         Kovo_SetPPPoEConfig, id);
         },
         {"pppoe_Enable: ON", "pppoe_Username: u", "pppoe_Password: pw"}},
        {"ddns on",
         [](long id) {
             DDNS_CONFIG d{};
             d.nEnable = 1;
             fill(d.szServer, "dyn.example");
             fill(d.szDomain, "cam.dyn.example");
             fill(d.szUsername, "me");
             fill(d.szPassword, "pw");
             return Kovo_SetDDNSConfig(id, &d);
         },
         {"DDNS_Enable: ON", "DDNS_Server: dyn.example", "DDNS_Domain: cam.dyn.example", "DDNS_Username: me",
          "DDNS_Password: pw"}},
        {"wifi off, all empty: the operation mode goes as a bare key",
         [](long id) { WIFI_CONFIG w{}; return Kovo_SetWiFiConfig(id, &w); },
         {"WiFi_Enable: OFF", "WiFi_IP: ", "WiFi_Submask: ", "WiFi_Gratewall: ", "WiFi_OperationMode",
          "WiFi_ChannelNumber: ", "WiFi_ESSID: ", "WiFi_Password: "}},
        {"wifi on: the operation mode is checked but never sent",
         [](long id) { WIFI_CONFIG w = fullWiFi(); return Kovo_SetWiFiConfig(id, &w); },
         {"WiFi_Enable: ON", "WiFi_IP: 192.168.1.9", "WiFi_Submask: 255.255.0.0", "WiFi_Gratewall: 192.168.1.1",
          "WiFi_OperationMode", "WiFi_ChannelNumber: 6", "WiFi_ESSID: cams", "WiFi_Password: secret"}},
        {"smtp, authentication sent as the number 1",
         [](long id) {
             SMTP_CONFIG s = smtpServer();
             s.nAuth = 5;
             fill(s.szUsername, "u");
             fill(s.szPassword, "p");
             fill(s.szFromEmail, "cam@example");
             return Kovo_SetSMTPConfig(id, &s);
         },
         {"SMTP_ServerIP: mail.example", "SMTP_ServerPort: 25", "SMTP_Auth: 1", "SMTP_Username: u",
          "SMTP_Password: p", "SMTP_FromEmail: cam@example"}},
        {"smtp without authentication, empty account",
         [](long id) { SMTP_CONFIG s = smtpServer(); return Kovo_SetSMTPConfig(id, &s); },
         {"SMTP_ServerIP: mail.example", "SMTP_ServerPort: 25", "SMTP_Auth: 0", "SMTP_Username: ",
          "SMTP_Password: ", "SMTP_FromEmail: "}},
        {"notify: the slot as a value; a full 256-byte subject goes whole, past a field line's 255 characters",
         [](long id) {
             return with(notifySlot(3), [](SMTP_NOTIFY& n) { fill(n.szSubject, k300); }, Kovo_SetSMTPNotify, id);
         },
         {"SMTP_Index: 3", "SMTP_ToEmail: ops@example", "SMTP_CcEmail: cc@example",
          "SMTP_Subject: " + k300.substr(0, 256)}},
        {"ftp off, all empty, nothing checked", [](long id) { FTP_CONFIG f{}; return Kovo_SetFTPConfig(id, &f); },
         {"FTP_ClientMode: OFF", "FTP_ServerIP: ", "FTP_ServerPort: 0", "FTP_Username: ", "FTP_Password: ",
          "FTP_FilePath: ", "FTP_ServerIP2: ", "FTP_ServerPort2: 0", "FTP_Username2: ", "FTP_Password2: ",
          "FTP_FilePath2: "}},
        {"ftp off with full unterminated paths: exactly their 256 characters",
         [](long id) {
             FTP_CONFIG f = ftpClient();
             f.nClientMode = 0;
             fill(f.szFilePath, k300);
             fill(f.szServerIP2, "ftp2");
             f.nServerPort2 = 2121;
             fill(f.szFilePath2, std::string(256, 'q'));
             return Kovo_SetFTPConfig(id, &f);
         },
         {"FTP_ClientMode: OFF", "FTP_ServerIP: ftp.example", "FTP_ServerPort: 21", "FTP_Username: cam",
          "FTP_Password: ", "FTP_FilePath: " + k300.substr(0, 256), "FTP_ServerIP2: ftp2", "FTP_ServerPort2: 2121",
          "FTP_Username2: ", "FTP_Password2: ", "FTP_FilePath2: " + std::string(256, 'q')}},
    });
}

const std::vector<std::string> kNetKeys{"IPV4_IPAddr",   "IPV4_NetMask", "IPV4_GateWay",
                                        "IPV4_DHCPMode", "IPV4_MainDNS", "IPV4_SubDNS"};

TEST(NetworkParams, GetConversions) {
    runGetCases({
        {"net: DHCP is on only for an exact ON; a 40-character address fills 32 bytes", kNetKeys,
         {"IPV4_IPAddr: " + k40, "IPV4_GateWay: 10.1.1.1", "IPV4_DHCPMode: on", "IPV4_MainDNS: 8.8.8.8"},
         [](long id) {
             NET_CONFIG n{};
             fill(n.szNetMask, "kept");
             fill(n.szSubDNS, "kept too");
             n.nDHCPMode = 1;
             ASSERT_EQ(Kovo_GetNetConfig(id, &n), 0);
             EXPECT_EQ(joined(textOf(n.szIP), textOf(n.szNetMask), textOf(n.szGateway), n.nDHCPMode,
                              textOf(n.szMainDNS), textOf(n.szSubDNS)),
                       k40.substr(0, 32) + "|kept|10.1.1.1|0|8.8.8.8|kept too|");
         }},
        {"net: exact ON", kNetKeys, {"IPV4_DHCPMode: ON"},
         [](long id) {
             NET_CONFIG n{};
             ASSERT_EQ(Kovo_GetNetConfig(id, &n), 0);
             EXPECT_EQ(n.nDHCPMode, 1);
         }},
        {"pppoe: enabled unless exactly OFF", {"pppoe_Enable", "pppoe_Username", "pppoe_Password"},
         {"pppoe_Enable: on", "pppoe_Username: dial", "pppoe_Password: pw"},
         [](long id) {
             PPPOE_CONFIG p{};
             ASSERT_EQ(Kovo_GetPPPoEConfig(id, &p), 0);
             EXPECT_EQ(joined(p.nEnable, textOf(p.szUser), textOf(p.szPassword)), "1|dial|pw|");
         }},
        {"ddns: exactly OFF", {"DDNS_Enable", "DDNS_Server", "DDNS_Domain", "DDNS_Username", "DDNS_Password"},
         {"DDNS_Enable: OFF", "DDNS_Server: s", "DDNS_Domain: d", "DDNS_Username: u", "DDNS_Password: p"},
         [](long id) {
             DDNS_CONFIG d{};
             d.nEnable = 1;
             ASSERT_EQ(Kovo_GetDDNSConfig(id, &d), 0);
             EXPECT_EQ(joined(d.nEnable, textOf(d.szServer), textOf(d.szDomain), textOf(d.szUsername),
                              textOf(d.szPassword)),
                       "0|s|d|u|p|");
         }},
        {"wifi: the gateway under its wire key, the operation mode read back",
         {"WiFi_Enable", "WiFi_IP", "WiFi_Submask", "WiFi_Gratewall", "WiFi_OperationMode", "WiFi_ChannelNumber",
          "WiFi_ESSID", "WiFi_Password"},
         {"WiFi_Enable: on", "WiFi_IP: 1.2.3.4", "WiFi_Submask: 255.0.0.0", "WiFi_Gratewall: 1.2.3.1",
          "WiFi_OperationMode: Ad-Hoc", "WiFi_ChannelNumber: 11", "WiFi_ESSID: net", "WiFi_Password: k"},
         [](long id) {
             WIFI_CONFIG w{};
             ASSERT_EQ(Kovo_GetWiFiConfig(id, &w), 0);
             EXPECT_EQ(joined(w.nEnable, textOf(w.szIP), textOf(w.szSubmask), textOf(w.szGateway),
                              textOf(w.szOperationMode), textOf(w.szChannelNumber), textOf(w.szSSID),
                              textOf(w.szPassword)),
                       "1|1.2.3.4|255.0.0.0|1.2.3.1|Ad-Hoc|11|net|k|");
         }},
        {"smtp: numbers by atoi",
         {"SMTP_ServerIP", "SMTP_ServerPort", "SMTP_Auth", "SMTP_Username", "SMTP_Password", "SMTP_FromEmail"},
         {"SMTP_ServerIP: mx", "SMTP_ServerPort: 587x", "SMTP_Auth: 3", "SMTP_Username: u", "SMTP_Password: p",
          "SMTP_FromEmail: f"},
         [](long id) {
             SMTP_CONFIG s{};
             ASSERT_EQ(Kovo_GetSMTPConfig(id, &s), 0);
             EXPECT_EQ(joined(textOf(s.szServerIP), s.nServerPort, s.nAuth, textOf(s.szUsername),
                              textOf(s.szPassword), textOf(s.szFromEmail)),
                       "mx|587|3|u|p|f|");
         }},
        {"notify: the slot inside the first key; a long subject fills 256 bytes",
         {"SMTP_Index_2", "SMTP_ToEmail", "SMTP_CcEmail", "SMTP_Subject"},
         {"SMTP_Index_2: ignored", "SMTP_ToEmail: to", "SMTP_CcEmail: cc", "SMTP_Subject: " + k300},
         [](long id) {
             SMTP_NOTIFY n = notifySlot(2);
             ASSERT_EQ(Kovo_GetSMTPNotify(id, &n), 0);
             EXPECT_EQ(joined(n.nIndex, textOf(n.szToEmail), textOf(n.szCcEmail), textOf(n.szSubject)),
                       "2|to|cc|" + k300.substr(0, 256) + "|");
         }},
        {"ftp: client mode on unless exactly OFF; a 300-character path fills 256 bytes",
         {"FTP_ClientMode", "FTP_ServerIP", "FTP_ServerPort", "FTP_Username", "FTP_Password", "FTP_FilePath",
          "FTP_ServerIP2", "FTP_ServerPort2", "FTP_Username2", "FTP_Password2", "FTP_FilePath2"},
         {"FTP_ClientMode: on", "FTP_ServerIP: a", "FTP_ServerPort: 21", "FTP_FilePath: " + k300,
          "FTP_ServerPort2: 2121", "FTP_FilePath2: /two"},
         [](long id) {
             FTP_CONFIG f{};
             fill(f.szUsername, "kept");
             ASSERT_EQ(Kovo_GetFTPConfig(id, &f), 0);
             EXPECT_EQ(joined(f.nClientMode, textOf(f.szServerIP), f.nServerPort, textOf(f.szUsername),
                              textOf(f.szFilePath), f.nServerPort2, textOf(f.szFilePath2)),
                       "1|a|21|kept|" + k300.substr(0, 256) + "|2121|/two|");
         }},
    });
}

TEST(NetworkParams, Rejections) {
    auto net = [](void (*edit)(NET_CONFIG&)) {
        return [edit](long id) { return with(staticNet(), edit, Kovo_SetNetConfig, id); };
    };
    runRejectCases({
        {"net null", [](long id) { return Kovo_SetNetConfig(id, nullptr); }, -1, "SetNetConfig[%d] input invalid.\n"},
        {"net: the device is looked up before the record checks",
         [](long) { NET_CONFIG n{}; return Kovo_SetNetConfig(kUnknownId, &n); }, -3, "SetNetConfig[%d] device null.\n"},
        {"net empty ip", net([](NET_CONFIG& n) { n.szIP[0] = 0; }), -1, "SetNetConfig[%d] ip invalid.\n"},
        {"net empty gateway", net([](NET_CONFIG& n) { n.szGateway[0] = n.szNetMask[0] = 0; }), -1,
         "SetNetConfig[%d] gateway invalid.\n"},
        {"net empty mask", net([](NET_CONFIG& n) { n.szNetMask[0] = 0; }), -1, "SetNetConfig[%d] submask invalid.\n"},
        {"net DHCP, no DNS", net([](NET_CONFIG& n) { n.nDHCPMode = 1; }), -1,
         "SetNetConfig[%d] main or sub dns invalid.\n"},
        {"net DHCP, both DNS",
         net([](NET_CONFIG& n) { n.nDHCPMode = 1; fill(n.szMainDNS, "1.1.1.1"); fill(n.szSubDNS, "8.8.8.8"); }), -1,
         "SetNetConfig[%d] main DNS invalid.\n"},
        {"net DHCP, sub DNS only", net([](NET_CONFIG& n) { n.nDHCPMode = 1; fill(n.szSubDNS, "8.8.8.8"); }), -1,
         "SetNetConfig[%d] sub DNS invalid.\n"},
        {"pppoe on without password",
         [](long id) { PPPOE_CONFIG p{}; p.nEnable = 1; fill(p.szUser, "u"); return Kovo_SetPPPoEConfig(id, &p); }, -1,
         "SetPPPoEConfig[%d] invalid input.\n"},
        {"pppoe: record checks come before the lookup",
         [](long) { PPPOE_CONFIG p{}; p.nEnable = 1; return Kovo_SetPPPoEConfig(kUnknownId, &p); }, -1,
         "SetPPPoEConfig[%d] invalid input.\n"},
        {"ddns on without domain",
         [](long id) { DDNS_CONFIG d{}; d.nEnable = 1; fill(d.szServer, "s"); return Kovo_SetDDNSConfig(id, &d); }, -1,
         "SetDDNSConfig[%d] invalid server or domain.\n"},
        {"ddns off, password without user",
         [](long id) { DDNS_CONFIG d{}; fill(d.szPassword, "p"); return Kovo_SetDDNSConfig(id, &d); }, -1,
         "SetDDNSConfig[%d] invalid user name.\n"},
        {"wifi on without ssid",
         [](long id) { return with(fullWiFi(), [](WIFI_CONFIG& w) { w.szSSID[0] = 0; }, Kovo_SetWiFiConfig, id); },
         -1, "SetWiFiConfig[%d] invalid config.\n"},
        {"wifi on without operation mode",
         [](long id) {
             return with(fullWiFi(), [](WIFI_CONFIG& w) { w.szOperationMode[0] = 0; }, Kovo_SetWiFiConfig, id);
         },
         -1, "SetWiFiConfig[%d] invalid config.\n"},
        {"smtp port 0",
         [](long id) { return with(smtpServer(), [](SMTP_CONFIG& s) { s.nServerPort = 0; }, Kovo_SetSMTPConfig, id); },
         -1, "SetSMTPConfig[%d] invalid ip or port.\n"},
        {"smtp empty server",
         [](long id) { return with(smtpServer(), [](SMTP_CONFIG& s) { s.szServerIP[0] = 0; }, Kovo_SetSMTPConfig, id); },
         -1, "SetSMTPConfig[%d] invalid ip or port.\n"},
        {"smtp auth without sender",
         [](long id) {
             return with(smtpServer(),
                         [](SMTP_CONFIG& s) { s.nAuth = 1; fill(s.szUsername, "u"); fill(s.szPassword, "p"); },
                         Kovo_SetSMTPConfig, id);
         },
         -1, "SetSMTPConfig[%d] invalid auth setting.\n"},
        {"notify index 5", [](long id) { SMTP_NOTIFY n = notifySlot(5); return Kovo_SetSMTPNotify(id, &n); }, -1,
         "SetSMTPNotify[%d] invalid index.\n"},
        {"notify without copy address",
         [](long id) { return with(notifySlot(1), [](SMTP_NOTIFY& n) { n.szCcEmail[0] = 0; }, Kovo_SetSMTPNotify, id); },
         -1, "SetSMTPNotify[%d] invalid argument.\n"},
        {"get notify slot 0, before the lookup",
         [](long) { SMTP_NOTIFY n = notifySlot(0); return Kovo_GetSMTPNotify(kUnknownId, &n); }, -1,
         "GetSMTPNotify[%d] invalid index.\n"},
        {"get notify null", [](long id) { return Kovo_GetSMTPNotify(id, nullptr); }, -1,
         "GetSMTPNotify[%d] invalid input.\n"},
        {"ftp client on, path missing",
         [](long id) { return with(ftpClient(), [](FTP_CONFIG& f) { f.szFilePath[0] = 0; }, Kovo_SetFTPConfig, id); },
         -1, "SetFTPConfig[%d] invalid ftp1 config.\n"},
        {"ftp client on, port out of range",
         [](long id) { return with(ftpClient(), [](FTP_CONFIG& f) { f.nServerPort = 65536; }, Kovo_SetFTPConfig, id); },
         -1, "SetFTPConfig[%d] invalid ftp1 config.\n"},
        {"ftp client on, complete: still refused",
         [](long id) { FTP_CONFIG f = ftpClient(); return Kovo_SetFTPConfig(id, &f); }, -1,
         "SetFTPConfig[%d] invalid ftp server 1.\n"},
    });
}

TEST(NetworkParams, SharedOutcomes) {
    runExportCases({
        setCase("SetNetConfig", [](long id) { NET_CONFIG n = staticNet(); return Kovo_SetNetConfig(id, &n); },
                "SetNetConfig [%d] set net config failed.\n", "SetNetConfig Successfully\n", "input invalid"),
        getCase<NET_CONFIG>("GetNetConfig", Kovo_GetNetConfig, "GetNetConfig[%d] get network setting failed.\n",
                            "GetNetConfig Successfully\n"),
        setCase("SetPPPoEConfig", [](long id) { PPPOE_CONFIG p{}; return Kovo_SetPPPoEConfig(id, &p); },
                "SetPPPoEConfig[%d] get pppoe setting failed.\n", "SetPPPoEConfig Successfully\n"),
        getCase<PPPOE_CONFIG>("GetPPPoEConfig", Kovo_GetPPPoEConfig, "GetPPPoEConfig[%d] get pppoe setting failed.\n",
                              "GetPPPoEConfig Successfully\n"),
        setCase("SetDDNSConfig", [](long id) { DDNS_CONFIG d{}; return Kovo_SetDDNSConfig(id, &d); },
                "SetDDNSConfig[%d] get network setting failed.\n", "SetDDNSConfig Successfully\n"),
        getCase<DDNS_CONFIG>("GetDDNSConfig", Kovo_GetDDNSConfig, "GetDDNSConfig[%d] get network setting failed.\n",
                             "GetDDNSConfig Successfully\n"),
        setCase("SetWiFiConfig", [](long id) { WIFI_CONFIG w{}; return Kovo_SetWiFiConfig(id, &w); },
                "SetWiFiConfig[%d] set wifi config failed.\n", "SetWiFiConfig Successfully\n"),
        getCase<WIFI_CONFIG>("GetWiFiConfig", Kovo_GetWiFiConfig, "GetWiFiConfig[%d] get wifi config failed.\n",
                             "GetWiFiConfig Successfully\n"),
        setCase("SetSMTPConfig", [](long id) { SMTP_CONFIG s = smtpServer(); return Kovo_SetSMTPConfig(id, &s); },
                "SetSMTPConfig[%d] get pppoe setting failed.\n", "SetSMTPConfig Successfully\n"),
        getCase<SMTP_CONFIG>("GetSMTPConfig", Kovo_GetSMTPConfig, "GetSMTPConfig[%d] get pppoe setting failed.\n",
                             "GetSMTPConfig Successfully\n"),
        setCase("SetSMTPNotify", [](long id) { SMTP_NOTIFY n = notifySlot(1); return Kovo_SetSMTPNotify(id, &n); },
                "SetSMTPNotify[%d] set smtp notify failed.\n", "SetSMTPNotify Successfully\n"),
        // The slot must be valid before the call is sent, so no scratch record.
        setCase("GetSMTPNotify", [](long id) { SMTP_NOTIFY n = notifySlot(1); return Kovo_GetSMTPNotify(id, &n); },
                "GetSMTPNotify[%d] get smtp notify failed.\n", "GetSMTPNotify Successfully\n"),
        setCase("SetFTPConfig", [](long id) { FTP_CONFIG f{}; return Kovo_SetFTPConfig(id, &f); },
                "SetFTPConfig[%d] get pppoe setting failed.\n", "SetFTPConfig Successfully\n"),
        getCase<FTP_CONFIG>("GetFTPConfig", Kovo_GetFTPConfig, "GetFTPConfig[%d] get pppoe setting failed.\n",
                            "GetFTPConfig Successfully\n"),
    });
}

}  // namespace
