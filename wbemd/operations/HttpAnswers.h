#pragma once

#include "wbemd/cimxml/AnswerText.h"
#include "wbemd/cimxml/CimRequest.h"
#include "wbemd/operations/COperations.h"

namespace wbemd {

// The answer that carries an operation's own answer, failed or not.
CHttpAnswer CimAnswer(std::string body);

// The answer to a request that is no operation.
CHttpAnswer RefusalAnswer(const CRefusal& refusal);

// The answer when there is no memory for another one, with one sentence for people.
CHttpAnswer NoMemoryAnswer(const char* sentence);

} // namespace wbemd
