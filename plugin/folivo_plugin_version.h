#pragma once

#include "com/scriptable_control.h"

/// The control from which a page reads the version of the installed plug-in.
class CFolivoPluginVersion
    : public CScriptableControl<CFolivoPluginVersion, &CLSID_CFolivoPluginVersion>,
      public IDispatchImpl<IFolivoPluginVersion, &IID_IFolivoPluginVersion,
                           &LIBID_MERLOFolivoIEPlugin> {
 public:
  CFolivoPluginVersion() = default;

  /// Writes or removes this class's registry tree; called by the module.
  static HRESULT WINAPI UpdateRegistry(BOOL registers);

  BEGIN_COM_MAP(CFolivoPluginVersion)
  COM_INTERFACE_ENTRY(IFolivoPluginVersion)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY_CHAIN(CScriptableControl)
  END_COM_MAP()

  /// Returns the plug-in's file version, such as "1.0.0.0"; the caller frees the string. E_FAIL,
  /// and a null string, for every failure, out of memory included.
  STDMETHOD(get_Version)(BSTR* pVal) override;
};
