// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where a provider delivers the results of an operation. A handler of one's own implements the
// pure virtual members, nothing else.
//
// Thread-safety is up to the implementation; setContext is not synchronized.
#ifndef Pegasus_ResponseHandler_h
#define Pegasus_ResponseHandler_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/OperationContext.h>

namespace Pegasus {

class PEGASUS_EXPORT ResponseHandler {
 public:
    virtual ~ResponseHandler();
    /// Before the first delivery.
    virtual void processing() = 0;
    /// After the last one.
    virtual void complete() = 0;
    /// Context to go with the response, the language of its contents for example.
    void setContext(const OperationContext& context);

 protected:
    ResponseHandler();
    OperationContext getContext() const;

 private:
    OperationContext _context;
};

class PEGASUS_EXPORT InstanceResponseHandler : virtual public ResponseHandler {
 public:
    virtual void deliver(const CIMInstance& instance) = 0;
    virtual void deliver(const Array<CIMInstance>& instances) = 0;
};

class PEGASUS_EXPORT ObjectPathResponseHandler : virtual public ResponseHandler {
 public:
    virtual void deliver(const CIMObjectPath& objectPath) = 0;
    virtual void deliver(const Array<CIMObjectPath>& objectPaths) = 0;
};

class PEGASUS_EXPORT ObjectResponseHandler : virtual public ResponseHandler {
 public:
    virtual void deliver(const CIMObject& object) = 0;
    virtual void deliver(const Array<CIMObject>& objects) = 0;
};

class PEGASUS_EXPORT MethodResultResponseHandler : virtual public ResponseHandler {
 public:
    virtual void deliverParamValue(const CIMParamValue& outParamValue) = 0;
    virtual void deliverParamValue(const Array<CIMParamValue>& outParamValues) = 0;
    virtual void deliver(const CIMValue& returnValue) = 0;
};

class PEGASUS_EXPORT IndicationResponseHandler : virtual public ResponseHandler {
 public:
    virtual void deliver(const CIMIndication& indication) = 0;
    virtual void deliver(const Array<CIMIndication>& indications) = 0;
    virtual void deliver(const OperationContext& context, const CIMIndication& indication) = 0;
    virtual void deliver(const OperationContext& context,
                         const Array<CIMIndication>& indications) = 0;
};

}  // namespace Pegasus

#endif
