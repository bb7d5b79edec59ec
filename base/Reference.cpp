#include "base/Reference.h"

namespace dornbase {

ReferencedObject::~ReferencedObject() = default;

// Constant initialisation: the mutex works in constructors and destructors of any static object.
constinit ThreadMutex g_referencedObjectMutex;

} // namespace dornbase
