#include "platform/com/error_mapping.h"

#include <new>
#include <stdexcept>
#include <string>

#include "platform/com/variant.h"

namespace ohmwise::com {
namespace {

constexpr uint32_t kControlResults = 0x800A0000u;  // severity error, FACILITY_CONTROL
constexpr Err kInternalError{51};
constexpr Err kArgumentMissing{449};
constexpr Err kArgumentCount{450};

/// The system's text of a result, without its line end; "" when it has none.
std::u16string SystemText(HRESULT result) {
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(result), 0, text,
                                static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && (text[length - 1] == L'\r' || text[length - 1] == L'\n')) --length;
  return std::u16string(Narrow(text), length);
}

/// The sentence for a result that came without one.
std::u16string TextOf(HRESULT result, Err number) {
  const std::u16string_view general = StandardText(Err{-1});
  const std::u16string_view standard = StandardText(number);
  if (standard != general) return std::u16string(standard);
  if (number == kArgumentMissing) return u"Argument not optional";
  if (number == kArgumentCount) return u"Wrong number of arguments or invalid property assignment";
  std::u16string system = SystemText(result);
  return system.empty() ? std::u16string(general) : system;
}

HRESULT SetThreadError(REFIID iid, Err number, std::u16string_view source,
                       std::u16string_view description) noexcept {
  SetErrorInfo(0, nullptr);  // what is there belongs to another failure
  Ref<ICreateErrorInfo> info;
  if (SUCCEEDED(CreateErrorInfo(Receive<ICreateErrorInfo>(info)))) {
    try {
      info->SetGUID(iid);
      info->SetSource(Bstr(source).get());
      info->SetDescription(Bstr(description).get());
      if (const Ref<IErrorInfo> error = Query<IErrorInfo>(info.get())) SetErrorInfo(0, error.get());
    } catch (const std::bad_alloc&) {
      // The number alone has to do.
    }
  }
  return ToHresult(number);
}

}  // namespace

HRESULT ToHresult(Err number) noexcept {
  const auto n = static_cast<int32_t>(number);
  if (n > 0 && n <= 0xFFFF) return static_cast<HRESULT>(kControlResults | static_cast<uint32_t>(n));
  return n < 0 ? n : E_FAIL;
}

Err ToNumber(HRESULT result) noexcept {
  const auto bits = static_cast<uint32_t>(result);
  if ((bits & 0xFFFF0000u) == kControlResults) return Err{static_cast<int32_t>(bits & 0xFFFFu)};
  switch (result) {
    case DISP_E_OVERFLOW:
      return Err::kOverflow;
    case E_OUTOFMEMORY:
      return Err::kOutOfMemory;
    case DISP_E_BADINDEX:
      return Err::kSubscript;
    case DISP_E_TYPEMISMATCH:
    case DISP_E_BADVARTYPE:
      return Err::kTypeMismatch;
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      return Err::kUnsupportedMember;
    case DISP_E_PARAMNOTOPTIONAL:
      return kArgumentMissing;
    case DISP_E_BADPARAMCOUNT:
      return kArgumentCount;
    default:
      return Err{static_cast<int32_t>(result)};
  }
}

void Check(HRESULT result) {
  if (SUCCEEDED(result)) return;
  const Err number = ToNumber(result);
  Raise(number, TextOf(result, number));
}

void RaiseInvokeFailure(HRESULT result, EXCEPINFO& exception) {
  std::u16string source, description;
  if (result == DISP_E_EXCEPTION) {
    if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
    Bstr texts[3];
    *texts[0].place() = exception.bstrSource;
    *texts[1].place() = exception.bstrDescription;
    *texts[2].place() = exception.bstrHelpFile;
    exception.bstrSource = exception.bstrDescription = exception.bstrHelpFile = nullptr;
    source = texts[0].str();
    description = texts[1].str();
    if (exception.scode != 0) {
      result = exception.scode;
    } else if (exception.wCode != 0) {
      result = ToHresult(Err{exception.wCode});
    }
  }
  const Err number = ToNumber(result);
  if (description.empty()) description = TextOf(result, number);
  throw AutomationError(number, source, description);
}

HRESULT LeaveWithError(REFIID iid, std::u16string_view source) noexcept {
  try {
    throw;
  } catch (const AutomationError& error) {
    return SetThreadError(iid, error.number(), error.source().empty() ? source : error.source(),
                          error.description());
  } catch (const std::bad_alloc&) {
    return SetThreadError(iid, Err::kOutOfMemory, source, StandardText(Err::kOutOfMemory));
  } catch (const std::length_error&) {
    return SetThreadError(iid, Err::kOutOfMemory, source, StandardText(Err::kOutOfMemory));
  } catch (const std::out_of_range&) {
    return SetThreadError(iid, Err::kSubscript, source, StandardText(Err::kSubscript));
  } catch (const std::invalid_argument&) {
    return SetThreadError(iid, Err::kInvalidCall, source, StandardText(Err::kInvalidCall));
  } catch (...) {
    return SetThreadError(iid, kInternalError, source, u"Internal error");
  }
}

HRESULT FillException(HRESULT result, EXCEPINFO* exception) noexcept {
  Ref<IErrorInfo> error;
  static_cast<void>(GetErrorInfo(0, Receive<IErrorInfo>(error)));
  if (exception) {
    *exception = {};
    exception->scode = result;
    if (error) {
      error->GetSource(&exception->bstrSource);
      error->GetDescription(&exception->bstrDescription);
    }
  }
  return DISP_E_EXCEPTION;
}

}  // namespace ohmwise::com
