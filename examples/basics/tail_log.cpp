// Shows a component's operation log and, with --follow, what is added to it.
//   tail_log COMPONENT [--follow]
#include <unistd.h>

#include <exception>
#include <iostream>
#include <list>
#include <string>

#include "CTraceUtility.h"

namespace {

const std::size_t kStampLength = 19;  // "2026/11/15 08:29:18"
const unsigned int kMaxRecords = 1000000;
const useconds_t kPause = 500000;  // microseconds between two looks

// Further lines of a record's text may look like records, but for the time.
bool IsStamp(const std::string& text)
{
    return text.size() == kStampLength && text[4] == '/' && text[7] == '/' && text[10] == ' ' &&
           text.find_first_not_of("0123456789/: ") == std::string::npos;
}

// Prints what is new. A look begins at the second of the last record shown: records of that second
// that were shown already come again, and are passed over.
class Tail
{
public:
    explicit Tail(const std::string& component) : component_(component), shown_(0) {}

    void PrintNew()
    {
        std::list<std::string> records;
        CTraceUtility::ReadTrace(component_.c_str(), CTraceUtility::TRACE_READ_ALL, kMaxRecords,
                                 records, &from_);
        std::size_t known = shown_;
        for (const std::string& record : records) {
            const std::string stamp = record.substr(0, kStampLength);
            if (!IsStamp(stamp))
                continue;
            if (known > 0) {
                --known;
                continue;
            }
            std::cout << record << std::endl;
            shown_ = stamp == from_ ? shown_ + 1 : 1;
            from_ = stamp;
        }
    }

private:
    std::string component_;
    std::string from_;   // stamp of the last record shown; none: from the start
    std::size_t shown_;  // records of that second
};

}  // namespace

int main(int argc, char** argv)
{
    const bool follow = argc == 3 && std::string(argv[2]) == "--follow";
    if (argc != 2 && !follow) {
        std::cerr << "usage: tail_log COMPONENT [--follow]\n";
        return 2;
    }
    try {
        Tail tail(argv[1]);
        tail.PrintNew();
        while (follow) {
            ::usleep(kPause);
            tail.PrintNew();
        }
    } catch (const std::exception& e) {  // a foreign file among the logs, with too short a line
        std::cerr << "tail_log: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
