// Doctor.h - qor_doctor run on an installation that a test has made.
#ifndef DOCTOR_TESTS_DOCTOR_H
#define DOCTOR_TESTS_DOCTOR_H

#include <string>
#include <vector>

#include "support/PrivateDiskTest.h"
#include "support/Processes.h"
#include "support/ReplacedFile.h"

namespace doctor::test {

class DoctorTest : public qor::test::PrivateDiskTest
{
protected:
    // Shell commands at the end of good.sh.
    static qor::test::ShellResult Run(const std::string& commands);

private:
    // The host may have one.
    const qor::test::ReplacedFile scratchBanner_{"/tmp/motd"};
};

// The ids in the text that the doctor prints, in its order.
std::vector<std::string> FindingsIn(const std::string& output);

}  // namespace doctor::test

#endif  // DOCTOR_TESTS_DOCTOR_H
