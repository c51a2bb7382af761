#pragma once

#include "tests/support/CRequestText.h"

#include <ostream>
#include <string>
#include <vector>

// Asks the operations, with the product's own class definitions, on a system named "testhost".
// Every answer is looked at by CAnswerCheck, too.
namespace asking {

const wbemd::COperations& Operations();

// The answer as one text: status, whether the connection stays open, headers, body. A call that
// comes out instead fails the test.
std::string Ask(const CRequestText& request, messages::Right right = messages::Right::Change);
// The call that comes out. An answer in its place fails the test, and gives an empty call.
wbemd::CPendingCall AskCall(const CRequestText& request,
                            messages::Right right = messages::Right::Change);
// The answer to a call that ended like this.
std::string Finish(const wbemd::CPendingCall& call, const messages::CCallAnswer& answer);

// What Ask gives for a refusal, for an intrinsic operation and for a method. The texts are
// as they stand in the answer.
std::string Refused(unsigned status, const std::string& cimError, const std::string& sentence);
std::string Returned(const std::string& operation, const std::string& content);
std::string Failed(const std::string& operation, unsigned code, const std::string& description);
std::string MethodReturned(const std::string& method, const std::string& content);
std::string MethodFailed(const std::string& method, unsigned code, const std::string& description);

// A row of a table: what is asked, and the whole answer.
struct CRow {
    std::string name;
    CRequestText request;
    std::string wanted;
};
std::ostream& operator<<(std::ostream& out, const CRow& row);

} // namespace asking
