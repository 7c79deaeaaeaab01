#pragma once

#include "notary/Ticket.h"

#include <string>
#include <vector>

namespace notary {

/// Something that an inspection objects to, or only mentions.
struct InspectionIssue {
    bool isError = true;
    std::string path; // in what was handed in: "App.zip/App.app/Contents/MacOS/App"
    std::string message; // the public service's words
    std::string architecture{}; // empty when it isn't about one
    std::string detail{}; // what exactly is wrong, where the message doesn't say
};

/// One piece of code for one processor, or an image.
struct InspectedCode {
    std::string path; // of a bundle, or of the file
    std::string architecture; // empty for an image
    TicketHash hash;
};

/// What was found in a file that was handed in.
struct Inspection {
    bool hasErrors() const;

    std::vector<InspectionIssue> issues;
    std::vector<InspectedCode> code; // signed, whether it passes or not
};

} // namespace notary
