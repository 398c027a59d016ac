// Progress and cancellation: the library's one progress sink, installed with
// the module, hands each report to the callback of the call running on the
// reporting thread, and checks for Ctrl-C.
#include "MirelanPython.h"

namespace mirelan::python {

namespace {

thread_local ProgressScope* tCurrentScope = nullptr;

// Reports come on the thread that runs the work, which has released the GIL.
bool Sink(UInt64 inTotal, UInt64 inPosition, const XString& inMessage) {
  ProgressScope* scope = ProgressScope::Current();
  if (!scope || !Py_IsInitialized()) return true;
  py::gil_scoped_acquire gil;
  return scope->Report(inTotal, inPosition, inMessage);
}

}  // namespace

ProgressScope::ProgressScope(py::object inCallback) : itsCallback(std::move(inCallback)), itsParent(tCurrentScope) {
  if (!itsCallback.is_none() && !PyCallable_Check(itsCallback.ptr()))
    throw py::type_error("progress must be a callable (done, total, message) or None");
  tCurrentScope = this;
}

ProgressScope::~ProgressScope() { tCurrentScope = itsParent; }

ProgressScope* ProgressScope::Current() { return tCurrentScope; }

bool ProgressScope::Report(UInt64 inTotal, UInt64 inPosition, const XString& inMessage) {
  if (itsError) return false;
  if (PyErr_CheckSignals() != 0) {  // Ctrl-C: its KeyboardInterrupt replaces the cancel
    itsError.emplace();
    return false;
  }
  if (itsCallback.is_none()) return true;
  try {
    py::object answer = itsCallback(inPosition, inTotal, inMessage);
    return !answer.is(py::bool_(false));
  } catch (py::error_already_set& e) {
    itsError.emplace(std::move(e));
    return false;
  }
}

void ProgressScope::RaisePending() {
  if (!itsError) return;
  py::error_already_set error = std::move(*itsError);
  itsError.reset();
  throw error;
}

void BindProgress(py::module_& m) {
  XProgress::SetSink(&Sink);
  m.def(
      "cancel", [] { XProgress::RequestCancel(); },
      "Asks the work running now, on every thread, to stop: it raises Cancelled. Safe to call from "
      "another thread or a signal handler; the request ends with the work it cancels.");
  m.def(
      "set_progress_interval", [](UInt32 inMilliseconds) { XProgress::SetIntervalLimit(inMilliseconds); },
      py::arg("milliseconds"),
      "The longest time between two calls of a progress callback, for work started from now on (the "
      "library's tools ask for 2000 ms; 0 reports every step).");
  m.def(
      "progress_interval", [] { return XProgress::GetIntervalLimit(); },
      "The limit set by set_progress_interval (4294967295 when none is set).");
}

}  // namespace mirelan::python
