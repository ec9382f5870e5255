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
#include <kalvo/platform/CBitmap.h>
#include <kalvo/platform/CBrush.h>
#include <kalvo/platform/CCairoDC.h>
#include <kalvo/platform/CEmfDC.h>
#include <kalvo/platform/CDC.h>
#include <kalvo/platform/CFont.h>
#include <kalvo/platform/CPen.h>
#include <kalvo/platform/CRecordingDC.h>
#include <kalvo/platform/CWnd.h>
#include <kalvo/platform/ColorRef.h>
#include <kalvo/platform/DeviceCaps.h>
#include <kalvo/platform/DeviceModes.h>
#include <kalvo/platform/DrawTextFormat.h>
#include <kalvo/platform/HatchStyle.h>
#include <kalvo/platform/KHost.h>
#include <kalvo/platform/KCursorService.h>
#include <kalvo/platform/KLocalClipboard.h>
#include <kalvo/platform/KPlatformClipboard.h>
#include <kalvo/platform/PenStyle.h>
#include <kalvo/platform/RasterOp.h>
#include <kalvo/platform/StockObject.h>
#include <kalvo/platform/SysColor.h>
#include <kalvo/platform/TextMetric.h>

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

// toolkit
#include <kalvo/toolkit/AffineTransform.h>
#include <kalvo/toolkit/KBufferedContext.h>
#include <kalvo/toolkit/KClipboard.h>
#include <kalvo/toolkit/KColor.h>
#include <kalvo/toolkit/KComponent.h>
#include <kalvo/toolkit/KContainer.h>
#include <kalvo/toolkit/KEvent.h>
#include <kalvo/toolkit/KFrame.h>
#include <kalvo/toolkit/KGraphics.h>
#include <kalvo/toolkit/KImage.h>
#include <kalvo/toolkit/KImageContext.h>
#include <kalvo/toolkit/KPainter.h>
#include <kalvo/toolkit/KPanel.h>
#include <kalvo/toolkit/KToolkit.h>
#include <kalvo/toolkit/layout/KBagLayout.h>
#include <kalvo/toolkit/layout/KBorderLayout.h>
#include <kalvo/toolkit/layout/KFlowLayout.h>
#include <kalvo/toolkit/layout/KFormLayout.h>
#include <kalvo/toolkit/layout/KGridBagLayout.h>
#include <kalvo/toolkit/layout/KGridLayout.h>
#include <kalvo/toolkit/layout/KLayout.h>
#include <kalvo/toolkit/widgets/KLabel.h>

// resources
#include <kalvo/resources/KImageResource.h>
#include <kalvo/resources/KMenuResource.h>
#include <kalvo/resources/KResources.h>

// headless host
#include <kalvo/host/headless/KCanvas.h>
