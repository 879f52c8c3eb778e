// Fills a class object with typed properties and a nested object, and reads them back.
#include <iostream>
#include <string>
#include <vector>

#include "CIWbemUtil.h"

namespace {

void Fill(IWbemClassObject& computer)
{
    IWbemClassObject disk;
    CIWbemUtil::setStringToIWbemClassObject(&disk, "Name", "sda");
    CIWbemUtil::setULongToIWbemClassObject(&disk, "Bytes", 512110190592UL);

    // Plain properties first: some look-ups end at the first nested object.
    const std::vector<std::string> addresses = {"192.0.2.7", "192.0.2.8"};
    CIWbemUtil::setStringToIWbemClassObject(&computer, "Name", "node7");
    CIWbemUtil::setIntToIWbemClassObject(&computer, "Cores", 16);
    CIWbemUtil::setStringArrayToIWbemClassObject(&computer, "Addresses", &addresses);
    CIWbemUtil::setParameterClassToIWbemClassObject(&computer, "Disk", &disk);  // a copy
    disk.Release();
}

void Print(IWbemClassObject& computer)
{
    std::string name;
    int cores = 0;
    std::vector<std::string> addresses;
    CIWbemUtil::getStringFromIWbemClassObject(&computer, "Name", &name);
    CIWbemUtil::getIntFromIWbemClassObject(&computer, "Cores", &cores);
    CIWbemUtil::getStringArrayFromIWbemClassObject(&computer, "Addresses", &addresses);
    std::cout << name << ": " << cores << " cores\n";
    for (const std::string& address : addresses)
        std::cout << "address " << address << "\n";

    IWbemClassObject* disk = nullptr;  // the bag's own: not to be freed
    unsigned long bytes = 0;
    if (CIWbemUtil::getParameterClassFromIWbemClassObject(&computer, "Disk", &disk) == 0 &&
        CIWbemUtil::getULongFromIWbemClassObject(disk, "Bytes", &bytes) == 0)
        std::cout << "disk of " << bytes << " bytes\n";

    long serial = 0;
    const int status = CIWbemUtil::getLongFromIWbemClassObject(&computer, "Serial", &serial);
    std::cout << "serial number: status 0x" << std::hex << static_cast<unsigned int>(status)
              << std::dec << "\n";
}

}  // namespace

int main()
{
    IWbemClassObject computer;
    Fill(computer);
    Print(computer);

    std::cout << "properties:";
    for (auto property = computer.getIterator(); computer.hasNext(property); ++property)
        std::cout << " " << property->first;
    std::cout << "\n";
    computer.Release();  // frees the nested copy; nothing but the end may follow
}
