/* An integrator's program, built against the installed library only. */
#include <KovoSDK.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    char version[64];
    GetSDKVersion(version);
    if (Kovo_SDKInit() != 0) return 1;
    if (Kovo_Logout(12345) != -1) return 2;
    printf("%s\n", version);
    return strstr(version, "_2.1.2") ? 0 : 3;
}
