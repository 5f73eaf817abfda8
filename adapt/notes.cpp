#include <ktmp4/adapting_file.h>

namespace kt {

const char* AdaptNoteText(AdaptNote note) {
  switch (note) {
    case ADAPT_NO_TRACK_BOXES:
      return "it lacks boxes that a track cannot do without";
    case ADAPT_TABLES_CONTRADICT:
      return "its tables contradict each other";
    case ADAPT_TOO_MANY_SAMPLES:
      return "it claims more samples than the file has room for";
    case ADAPT_NO_TRACK_ID:
      return "its number is 0";
    case ADAPT_TIMES_OUT_OF_RANGE:
      return "its times are beyond all reason";
    case ADAPT_NO_SIZES:
      return "its tables tell of no sample sizes, so it has no samples";
    case ADAPT_SAMPLES_OUTSIDE_EDIT:
      return "samples that its edit list does not show are left out";
    case ADAPT_FURTHER_EDITS:
      return "of its edits only the first one acts";
    case ADAPT_EDIT_RATE:
      return "the rate of its edits does not act";
    case ADAPT_ENTRY_BOXES:
      return "further boxes of its sample entries are left out";
    case ADAPT_NO_DECODER_SET_UP:
      return "its sample entries say nothing that would set a decoder up";
    case ADAPT_ENTRY_REPLACED:
      return "a sample entry that is none is replaced by an empty one";
    case ADAPT_RUNS_IGNORED:
      return "fragments that contradict themselves or the file are left out";
    case ADAPT_TIMES_OVERLAP:
      return "fragments that begin before the one ahead of them ends are moved behind it";
    case ADAPT_DATA_ELSEWHERE:
      return "it says that its media data is in another file";
    case ADAPT_DELAY_ROUNDED:
      return "its start is rounded to the time scale of the movie";
  }
  return "";
}

}  // namespace kt
