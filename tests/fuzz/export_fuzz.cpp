// The export of records over any bytes held in memory: every record the
// trace lists is decoded, its values typed, in UTF-8 and in EUC-JP.
#include "box_analysis.h"
#include "field_table.h"
#include "fuzz_support.h"
#include "record_map.h"
#include "record_values.h"
#include "report_scope.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ValueDecoder utf8("UTF-8");
  static ValueDecoder eucJp("EUC-JP");
  BoxAnalysis analysis(ByteView(data, static_cast<uint32_t>(size)));
  ReportScope scope(&fuzz::formattingSink(), {});
  analysis.run();
  if (!analysis.itemInfo) return 0;  // no bytes: nothing ran
  const ByteView view = analysis.file.view();
  const ItemInfo& fields = *analysis.itemInfo;
  RecordValue value;
  readFieldTable(view);
  for (const Record& r :
       mapRecords(view, *analysis.chain, fields, analysis.headerCheck->firstCardOffset(), {.deleted = true})
           .records) {
    if (r.end > view.size() || r.offset > r.end) __builtin_trap();
    const CardValues values(view, r.offset, fields);
    for (int k = 0; k < values.count(); ++k) {
      if (!valuePresent(values, k, r.end)) continue;
      const ItemInfoEntry& field = fields.entries[static_cast<size_t>(k)];
      utf8.decode(field, view.data() + values.position(k), values.length(k), value);
      if (value.kind == ValueKind::kText &&
          !validUtf8(reinterpret_cast<const uint8_t*>(value.textView().data()), value.textView().size()))
        __builtin_trap();
      eucJp.decode(field, view.data() + values.position(k), values.length(k), value);
    }
  }
  return 0;
}
