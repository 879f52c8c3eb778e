// Reads what a shell command prints, word by word, without getting into the way of its fork.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <string>

#include "CPipeStream.h"

namespace {

// Constant text only: the command goes to the shell as it stands.
const char kCommand[] = "printf 'eth0 up\\neth1 down\\n'";

void PrintLinks(const char* command)
{
    const pid_t self = ::getpid();
    CPipeStream stream(command);
    if (::getpid() != self)
        ::_exit(0);  // the child continues here when the command has ended

    std::string name, state;
    while (stream >> name >> state)
        std::cout << name << " is " << state << "\n";
}

// The stream does not wait for its child.
void CollectChild()
{
    while (::wait(nullptr) < 0 && errno == EINTR) {
    }
}

}  // namespace

int main()
{
    PrintLinks(kCommand);
    CollectChild();
}
