#ifndef Pegasus_MessageLoader_h
#define Pegasus_MessageLoader_h
#endif
