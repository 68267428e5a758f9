// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Response handlers that keep what a provider delivers, for testing a provider without a server:
// call the provider's operation with one of these and look at what it holds afterwards.
//
// Not locked: one handler belongs to one call, and an IndicationRecorder to one thread that raises
// indications. What is delivered is kept as handles, which share their objects with the provider.
// Nothing is checked: an exception out of an operation reaches the test, what was delivered before
// it stays.
//
// Uses documented Pegasus headers only: copied into a project, this file serves its tests against a
// real OpenPegasus too.
#ifndef VELMAR_TESTING_RECORDINGHANDLERS_H
#define VELMAR_TESTING_RECORDINGHANDLERS_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <string>
#include <vector>

#include "ThreadSanitizer.h"

/// What a provider's own tests use.
namespace velmar_testing {

/// The part all recorders share: `calls` names the handler calls in order, separated by blanks; the
/// array form of a delivery of n objects reads "deliver[n]".
template <class Handler>
class RecorderBase : public Handler {
 public:
    void processing() override { note("processing"); }  ///< noted
    void complete() override { note("complete"); }      ///< noted

    std::string calls;  ///< "processing deliver deliver complete"

 protected:
    /// Adds a call.
    void note(const std::string& call) { calls += (calls.empty() ? "" : " ") + call; }
};

/// Keeps the delivered handles, in their order: what a provider edits afterwards shows.
template <class Handler, class T>
class Recorder : public RecorderBase<Handler> {
 public:
    using Handler::deliver;
    /// Keeps the object.
    void deliver(const T& object) override {
        this->note("deliver");
        delivered.push_back(object);
    }
    /// Keeps the objects.
    void deliver(const Pegasus::Array<T>& objects) override {
        this->note("deliver[" + std::to_string(objects.size()) + "]");
        for (Pegasus::Uint32 i = 0; i < objects.size(); i++) {
            delivered.push_back(objects[i]);
        }
    }

    std::vector<T> delivered;  ///< in their order
};

/// For getInstance and enumerateInstances.
typedef Recorder<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance> InstanceRecorder;
/// For createInstance and every operation that delivers names.
typedef Recorder<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath> ObjectPathRecorder;
/// For associators and references.
typedef Recorder<Pegasus::ObjectResponseHandler, Pegasus::CIMObject> ObjectRecorder;
/// For modifyInstance and deleteInstance, which deliver nothing.
typedef RecorderBase<Pegasus::ResponseHandler> PlainRecorder;

/// For invokeMethod. A second return value replaces the first.
class MethodResultRecorder : public RecorderBase<Pegasus::MethodResultResponseHandler> {
 public:
    /// Keeps the return value.
    void deliver(const Pegasus::CIMValue& value) override {
        note("deliver");
        returnValue = value;
    }
    /// Keeps the out-parameter.
    void deliverParamValue(const Pegasus::CIMParamValue& value) override {
        note("param");
        outParameters.append(value);
    }
    /// Keeps the out-parameters.
    void deliverParamValue(const Pegasus::Array<Pegasus::CIMParamValue>& values) override {
        note("param[" + std::to_string(values.size()) + "]");
        outParameters.appendArray(values);
    }

    Pegasus::CIMValue returnValue;                         ///< null when none was delivered
    Pegasus::Array<Pegasus::CIMParamValue> outParameters;  ///< in their order
};

/// For enableIndications. It must live until disableIndications has returned; the contexts of the
/// deliveries are not kept.
class IndicationRecorder
    : public Recorder<Pegasus::IndicationResponseHandler, Pegasus::CIMIndication> {
 public:
    using Recorder::deliver;
    /// Keeps the indication.
    void deliver(const Pegasus::OperationContext&,
                 const Pegasus::CIMIndication& indication) override {
        deliver(indication);
    }
    /// Keeps the indications.
    void deliver(const Pegasus::OperationContext&,
                 const Pegasus::Array<Pegasus::CIMIndication>& indications) override {
        deliver(indications);
    }
};

}  // namespace velmar_testing

#endif
