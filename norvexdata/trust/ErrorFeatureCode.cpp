// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/trust/ErrorFeatureCode.h"

#include "norvexdata/trust/Md5.h"
#include "platform/text/CodePage.h"

CString GetErrorFeatureCode(const CString& field1, const CString& field2, const CString& field3, const CString& field4,
                            const CString& field5, const CString& field6) {
    CString joined;
    joined.Format(u"%s\r\n%s\r\n%s\r\n%s\r\n%s\r\n%s", field1, field2, field3, field4, field5, field6);
    norvex::trust::Md5 md5;
    md5.Update(norvex::text::WideToNarrow(joined));
    return "_" + CString(norvex::trust::ToHex(md5.Finish()).c_str());
}
