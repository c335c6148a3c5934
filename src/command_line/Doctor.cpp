#include "command_line/Doctor.h"

#include "command_line/DesktopFindings.h"
#include "command_line/MachineFindings.h"
#include "command_line/Terminal.h"

#include <algorithm>

using namespace Qt::StringLiterals;

int Doctor::examine(const CommandTexts& texts, const QStringList& arguments)
{
    Findings findings;
    findings += MachineFindings::installation(texts);
    findings += MachineFindings::enrolment(texts);
    findings += MachineFindings::logs(texts);
    findings += MachineFindings::service(texts, arguments);
    findings += DesktopFindings::all(texts);
    for (const Finding& finding : findings) {
        Terminal::print(finding.text);
    }
    const bool isFine = std::none_of(findings.cbegin(), findings.cend(),
                                     [](const Finding& finding) { return finding.isWrong; });
    if (isFine) {
        Terminal::print(texts.text("doctor.fine"_L1));
    }
    return isFine ? 0 : 1;
}
