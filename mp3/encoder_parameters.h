// The ranges of what callers may choose of the encoder's operations: within them, no arithmetic goes astray.
#pragma once

#include <initializer_list>

#include "frame/checks.h"
#include "moxac/mp3.h"

namespace moxac::mp3 {

inline bool validParameters(const MoxMp3EncoderParameters& p) {
  for (const float distance : p.leastDistance)
    if (!inRange(distance, -200.0f, 200.0f)) return false;
  for (const float distance : {p.noiseDistance, p.toneDistance, p.leastOwnDistance, p.shortDistance,
                               p.midSideNoise, p.mostDistance, p.mostShortDistance})
    if (!inRange(distance, -200.0f, 200.0f)) return false;
  for (const float factor : {p.rise, p.riseOverTwo, p.shortRise, p.attackLeap, p.quietScale})
    if (!inRange(factor, 0.0f, 1e9f)) return false;
  for (const float share : {p.annexMinimum, p.otherUnpredictability, p.sensitiveShare, p.absoluteShare,
                            p.reservoirAim, p.reservoirFill, p.reservoirSpend})
    if (!inRange(share, 0.0f, 1.0f)) return false;
  for (const float power : {p.costPower, p.shortCostPower, p.granuleContrast, p.channelContrast})
    if (!inRange(power, 0.0f, 4.0f)) return false;
  return inRange(p.midSideBonus, -1.0f, 1.0f) && inRange(p.predictedLines, 0, 513) &&
         inRange(p.attempts, 1, 40);
}

}  // namespace moxac::mp3
