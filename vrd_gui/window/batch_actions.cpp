// Runs on folders and documents.
#include "veridane_gui.h"

void CBxVeridaneGui::OnBatchSign() {}

void CBxVeridaneGui::OnBatchDetect() {}

void CBxVeridaneGui::OnPDFDetect() {}

void CBxVeridaneGui::OnBatchSignFinished() {}

void CBxVeridaneGui::OnBatchDetectFinished() {}

void CBxVeridaneGui::OnPDFDetectFinished() {}
