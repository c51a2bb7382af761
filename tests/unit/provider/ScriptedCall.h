#pragma once

#include "provider/CVELTARO_ToolServiceLogger.h"
#include "providerbase/IWbemClassObject.h"
#include "providerbase/IWbemObjectSink.h"
#include "providerbase/IWbemServices.h"
#include "tests/otherplatform/Script.h"

#include <gtest/gtest.h>

#include <any>
#include <initializer_list>
#include <string>
#include <vector>

using Notes = std::vector<std::string>;

// The notes of a trace line.
inline std::string Trace(int level, const std::string& text) {
    return "trace TarnwellLogger " + std::to_string(level) + " " + text;
}

inline Notes Join(std::initializer_list<Notes> lists) {
    Notes notes;
    for (const Notes& list : lists) {
        notes.insert(notes.end(), list.begin(), list.end());
    }
    return notes;
}

// The notes that begin with this word.
inline Notes NotesOf(const std::string& word) {
    Notes notes;
    for (const std::string& note : CScript::Get().m_notes) {
        if (note.rfind(word, 0) == 0) {
            notes.push_back(note);
        }
    }
    return notes;
}

// Hands out a class definition, or nothing.
class CScriptedServices : public IWbemServices {
public:
    bool m_bHasClass = true;
    bool m_bHasOutSignature = true;

    int GetObject(const std::string& path, int flags, void* context, IWbemClassObject** object,
                  IWbemCallResult** callResult) override {
        CScript::Get().Note("GetObject " + path + " " + std::to_string(flags) +
                            (context == nullptr ? " no context" : " context") +
                            (callResult == nullptr ? " no call result" : " call result"));
        if (!m_bHasClass) {
            return -1;
        }
        *object = new IWbemClassObject;
        (*object)->m_sRole = "class";
        (*object)->m_bHasOutSignature = m_bHasOutSignature;
        return 0;
    }
};

// Notes what it is given.
class CScriptedSink : public IWbemObjectSink {
public:
    std::vector<IWbemClassObject> m_objects;

    int Indicate(long count, IWbemClassObject** objects) override {
        CScript::Get().Note("Indicate " + std::to_string(count));
        m_objects.push_back(**objects);
        return 0;
    }
    int SetStatus(long flags, unsigned long result, char* text, IWbemClassObject* object) override {
        char status[32];
        std::snprintf(status, sizeof status, " 0x%08lx", result);
        CScript::Get().Note("SetStatus " + std::to_string(flags) + status +
                            (text == nullptr ? " no text" : " text") +
                            (object == nullptr ? " no object" : " object"));
        return 0;
    }
};

// One call of one provider object; the notes begin with the call.
class CScriptedCall {
public:
    CVELTARO_ToolServiceLogger m_provider;
    CScriptedServices m_services;
    CScriptedSink m_sink;
    IWbemContext* m_pContext = nullptr;

    CScriptedCall() { m_provider.m_pServices = &m_services; }

    HRESULT Run(const std::string& method, IWbemClassObject* inParams = nullptr) {
        std::string className = "AnyClass";
        std::string methodName = method;
        CScript::Get().m_notes.clear();
        return m_provider.ExecMethodAsync(className.data(), methodName.data(), 7, m_pContext,
                                          inParams, &m_sink);
    }

    // The method result that the sink was given.
    unsigned long Result() {
        EXPECT_EQ(1U, m_sink.m_objects.size());
        return std::any_cast<unsigned long>(m_sink.m_objects.at(0).m_values["ReturnValue"]);
    }
};
