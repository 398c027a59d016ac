// The library's errors as Python exceptions: every XException becomes an
// Error (or a subclass) carrying the number and the text; a broken
// precondition becomes InternalError, which is no Error.
#include <pybind11/eval.h>

#include "MirelanPython.h"

namespace mirelan::python {

namespace {

const char* kExceptionClasses = R"py(
class Error(Exception):
    """An error of the library: ``number`` is its error number, ``detail``
    what it said about this case, and str() the whole message."""

    def __init__(self, number, message, detail=""):
        super().__init__(message)
        self.number = number
        self.detail = detail

    def __reduce__(self):
        return (type(self), (self.number, self.args[0], self.detail))


class Cancelled(Error):
    """The work was cancelled: a progress callback returned False, Ctrl-C,
    or mirelan.cancel() (error 1008)."""


class PixelTypeError(Error, TypeError):
    """The operation does not serve this pixel type (error 2500)."""


class InternalError(Exception):
    """A broken precondition of the library: a programming error in the call,
    not bad data. ``expression``, ``file`` and ``line`` say which."""

    def __init__(self, message, expression="", file="", line=0):
        super().__init__(message)
        self.expression = expression
        self.file = file
        self.line = line

    def __reduce__(self):
        return (type(self), (self.args[0], self.expression, self.file, self.line))
)py";

// The classes, made with the module and never freed: the translator may run
// until the interpreter ends.
struct Classes {
  py::object itsError, itsCancelled, itsPixelType, itsInternal;
};
Classes* sClasses = nullptr;

void Raise(const py::object& inClass, const py::object& inInstance) {
  PyErr_SetObject(inClass.ptr(), inInstance.ptr());
}

}  // namespace

void BindErrors(py::module_& m) {
  py::dict scope;
  scope["__name__"] = "mirelan";
  py::exec(kExceptionClasses, scope);
  sClasses = new Classes{scope["Error"], scope["Cancelled"], scope["PixelTypeError"], scope["InternalError"]};
  for (const char* name : {"Error", "Cancelled", "PixelTypeError", "InternalError"}) m.attr(name) = scope[name];
  m.def(
      "error_text", [](SInt32 inNumber) { return XException::GetErrorString(inNumber); }, py::arg("number"),
      "The library's text for an error number.");

  py::register_exception_translator([](std::exception_ptr inError) {
    try {
      if (inError) std::rethrow_exception(inError);
    } catch (const XException& e) {
      const SInt32 number = e.GetErrorNumber();
      const py::object& cls = number == kErrCancelled         ? sClasses->itsCancelled
                              : number == kErrNotForPixelType ? sClasses->itsPixelType
                                                              : sClasses->itsError;
      Raise(cls, cls(number, e.what(), e.GetDetail()));
    } catch (const XInternalError& e) {
      const py::object& cls = sClasses->itsInternal;
      Raise(cls, cls(e.what(), e.GetExpression(), e.GetFile(), e.GetLine()));
    }
  });
}

}  // namespace mirelan::python
