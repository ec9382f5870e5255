#pragma once

// Every public class of the library.

// foundation
#include <kalvo/foundation/KArchive.h>
#include <kalvo/foundation/KArrayBuffer.h>
#include <kalvo/foundation/KAssertion.h>
#include <kalvo/foundation/KBitSet.h>
#include <kalvo/foundation/KClass.h>
#include <kalvo/foundation/KDate.h>
#include <kalvo/foundation/KDouble.h>
#include <kalvo/foundation/KException.h>
#include <kalvo/foundation/KInteger.h>
#include <kalvo/foundation/KLimits.h>
#include <kalvo/foundation/KObject.h>
#include <kalvo/foundation/KProperties.h>
#include <kalvo/foundation/KRange.h>
#include <kalvo/foundation/KSerializable.h>
#include <kalvo/foundation/KString.h>
#include <kalvo/foundation/KStringArray.h>
#include <kalvo/foundation/KVector.h>
#include <kalvo/foundation/KVectorBuffer.h>

// platform
#include <kalvo/platform/CPoint.h>
#include <kalvo/platform/CRect.h>
#include <kalvo/platform/CSize.h>
#include <kalvo/platform/HWND.h>
#include <kalvo/platform/KCursorService.h>
#include <kalvo/platform/KLocalClipboard.h>
#include <kalvo/platform/KPlatformClipboard.h>
#include <kalvo/platform/ColorRef.h>

// record
#include <kalvo/record/KDataTransform.h>
#include <kalvo/record/KDataTransformExt.h>
#include <kalvo/record/KRecord.h>
#include <kalvo/record/KRecordActor.h>
#include <kalvo/record/KRecordConsumer.h>
#include <kalvo/record/KRecordObserver.h>
#include <kalvo/record/KRecordProducer.h>
#include <kalvo/record/KSampleStatistics.h>
#include <kalvo/record/KTransform.h>
#include <kalvo/record/PolarTransform.h>

// io
#include <kalvo/io/KComtradeAsciiDecoder.h>
#include <kalvo/io/KComtradeBinaryDecoder.h>
#include <kalvo/io/KComtradeConfig.h>
#include <kalvo/io/KComtradeConfigParser.h>
#include <kalvo/io/KComtradeData.h>
#include <kalvo/io/KComtradeDecoder.h>
#include <kalvo/io/KComtradeFile.h>
#include <kalvo/io/KComtradeReader.h>
#include <kalvo/io/KComtradeRecordWriter.h>
#include <kalvo/io/KComtradeStamp.h>
#include <kalvo/io/KComtradeTiming.h>
#include <kalvo/io/KComtradeWriter.h>
#include <kalvo/io/KSampleAllocator.h>
#include <kalvo/io/KTextEncoding.h>

// toolkit
#include <kalvo/toolkit/KClipboard.h>
// analysis
#include <kalvo/analysis/Fft.h>
#include <kalvo/analysis/KFftTransform.h>
