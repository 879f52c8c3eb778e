// A program of somebody else's: builds against the installed package alone.
#include <iostream>

#include "CFileUtility.h"
#include "CIWbemUtil.h"
#include "CTraceException.h"

int main()
{
    IWbemClassObject object;
    if (CIWbemUtil::setStringToIWbemClassObject(&object, "Path", CFileUtility::GetInstallPath(6)) !=
        0)
        return 1;
    std::string path;
    if (CIWbemUtil::getStringFromIWbemClassObject(&object, "Path", &path) != 0)
        return 1;

    try {
        throw CTraceException("caught across the library's border");
    } catch (const CException& e) {
        std::cout << path << " " << e.CException::what() << "\n";
    }
    return 0;
}
