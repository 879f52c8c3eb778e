// Doctor.h - qor_doctor run on an installation that a test has made.
#ifndef DOCTOR_TESTS_DOCTOR_H
#define DOCTOR_TESTS_DOCTOR_H

#include <string>
#include <vector>

#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"

namespace doctor::test {

inline constexpr char kRoot[] = "/opt/velmora/qor";

// "/opt/velmora/qor" + name.
std::string RootPath(const std::string& name);

class DoctorTest : public qor::test::PrivateDiskTest
{
public:
    ~DoctorTest() override;

protected:
    // Settings, catalogues, a provider, a vendor, a channel, logs: nothing to find fault with.
    static void MakeGoodInstallation();

    // The command line, for shells.
    static std::string Command(const std::string& arguments = {});

    static qor::test::ShellResult Run(const std::string& arguments = {});

private:
    // The host may have one.
    const qor::test::ReplacedFile scratchBanner_{"/tmp/motd"};
};

// A plug-in of the tests under a name of the installation's.
void InstallLibrary(const std::string& plugin, const std::string& path);

// A section of a provider definition file, complete.
std::string ProviderSection(int number, const std::string& className, const std::string& library);

// The ids in the text that the doctor prints, in its order.
std::vector<std::string> FindingsIn(const std::string& output);

// The first words of all lines, as of --list.
std::vector<std::string> FirstWords(const std::string& output);

// What a message's name begins with that was made so many seconds ago: 20 digits.
std::string StampBefore(long seconds);

}  // namespace doctor::test

#endif  // DOCTOR_TESTS_DOCTOR_H
