// Demosaicing after Malvar, He and Cutler: gradient-corrected linear interpolation with fixed
// 5x5 kernels; on red and blue sites green may come from an edge-directed estimate instead.
uniform sampler2D source;
uniform vec4 sourceSize;
uniform vec2 firstRed;
uniform float colorCoef;
uniform float colorHigh;
uniform int debug;

varying vec4 center;
varying vec4 xCoord;
varying vec4 yCoord;

float f(float x, float y) {
    return texture2D(source, vec2(x, y)).r;
}

float delta(float c, float a, float b) {
    return abs(a - c) + abs(b - c);
}

void main() {
    const float thresholdD = 0.05;
    const float thresholdA = 0.01;
    float scale = (colorCoef > 0.0 && colorCoef != 1.0) ? colorCoef : 1.0;
    float C = texture2D(source, center.xy).r * scale;
    float colorHi = (colorHigh < 0.0 || colorHigh > 1.0) ? 1.0 : colorHigh;
    float gC = -1.0;
    bool even_col = mod(floor(center.z), 2.0) == 0.0;
    bool even_row = mod(floor(center.w), 2.0) == 0.0;

    vec4 Dvec = vec4(f(xCoord[1], yCoord[1]), f(xCoord[1], yCoord[2]), f(xCoord[2], yCoord[1]),
                     f(xCoord[2], yCoord[2]));
    const vec4 kC = vec4(4.0, 6.0, 5.0, 5.0) / 8.0;
    vec4 PATTERN = vec4(kC.x * C, kC.y * C, kC.z * C, kC.z * C);
    vec4 value = vec4(f(center.x, yCoord[0]), f(center.x, yCoord[1]), f(xCoord[0], center.y),
                      f(xCoord[1], center.y));
    vec4 temp = vec4(f(center.x, yCoord[3]), f(center.x, yCoord[2]), f(xCoord[3], center.y),
                     f(xCoord[2], center.y));
    if (scale > 1.001) {
        Dvec *= scale;
        value *= scale;
        temp *= scale;
    }

    bool color = firstRed.x == firstRed.y ? even_col != even_row : even_col == even_row;
    if (color) {
        float dH = abs(value.y - temp.y);
        float dV = abs(value.w - temp.w);
        if (dH > thresholdD && dV < thresholdD) {
            gC = ((value.w + temp.w) + (2.0 * C - value.z - temp.z) / 2.0) / 2.0;
        } else if (dH > thresholdD) {
            float cH = ((value.w + temp.w) + (2.0 * C - value.z - temp.z) / 2.0) / 2.0;
            float cV = ((value.y + temp.y) + (2.0 * C - value.x - temp.x) / 2.0) / 2.0;
            float dH2 = delta(cH, value.w, temp.w) + delta(cV, value.w, temp.w);
            float dV2 = delta(cH, value.y, temp.y) + delta(cV, value.y, temp.y);
            float d = dH2 - dV2;
            if (d <= -thresholdA)
                gC = cH;
            else if (d > thresholdA)
                gC = cV;
        } else if (dV > thresholdD) {
            gC = ((value.y + temp.y) + (2.0 * C - value.x - temp.x) / 2.0) / 2.0;
        }
    }

    float D = Dvec.x + Dvec.y + Dvec.z + Dvec.w;
    value += temp;
    float A = value[0];
    float B = value[1];
    float E = value[2];
    float F = value[3];

    const vec4 kA = vec4(-1.0, -1.5, 0.5, -1.0) / 8.0;
    const vec4 kB = vec4(2.0, 0.0, 0.0, 4.0) / 8.0;
    const vec4 kD = vec4(0.0, 2.0, -1.0, -1.0) / 8.0;
    const vec4 kE = kA.xywz;
    const vec4 kF = kB.xywz;
    PATTERN.y += kD.y * D;
    PATTERN.z += kD.z * D;
    PATTERN.w += kD.z * D;
    PATTERN.x += kA.x * A + kE.x * E;
    PATTERN.y += kA.y * A + kE.y * E;
    PATTERN.z += kA.z * A + kE.x * E;
    PATTERN.w += kA.x * A + kE.w * E;
    PATTERN.x += kB.x * B;
    PATTERN.w += kB.w * B;
    PATTERN.x += kF.x * F;
    PATTERN.z += kF.z * F;

    vec3 rgb;
    if (even_row && even_col)
        rgb = vec3(C, gC >= 0.0 ? gC : PATTERN.x, PATTERN.y);
    else if (even_row)
        rgb = vec3(PATTERN.z, C, PATTERN.w);
    else if (even_col)
        rgb = vec3(PATTERN.w, C, PATTERN.z);
    else
        rgb = vec3(PATTERN.y, gC >= 0.0 ? gC : PATTERN.x, C);
    rgb = clamp(rgb, 0.0, colorHi);
    // Back on the input's own scale: a 12-bit mosaic gives 12-bit colour, as on the CPU, and the
    // thresholds above still judged full-scale differences.
    rgb /= scale;

    // 1005 is a TrueSense mode and leaves the pixel as it is.
    if (debug >= 1000) {
        if (debug == 1000)
            rgb = vec3(C);
        else if (debug == 1001)
            rgb = rgb.rrr;
        else if (debug == 1002)
            rgb = rgb.ggg;
        else if (debug == 1003)
            rgb = rgb.bbb;
        else if (debug == 1004)
            rgb = vec3(min(0.30 * rgb.r + 0.59 * rgb.g + 0.11 * rgb.b, 1.0));
    }
    gl_FragColor.rgb = rgb;
}
