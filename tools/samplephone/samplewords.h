#pragma once

#include "testing/builders/samplerandom.h"

#include <QString>

/// A message text: one of the short answers that people repeat, or up to fourteen words of one language.
/// `language` is any number; the same number means the same language.
QString sampleSentence(int language, SampleRandom &random);

QString sampleFirstName(SampleRandom &random);
QString sampleLastName(SampleRandom &random);
