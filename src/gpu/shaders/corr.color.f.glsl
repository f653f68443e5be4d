#version 120
// Colour correction: offset + gain * value per channel, then gamma; or, in the automatic
// mode, a gain that fades out towards white.
uniform sampler2D source;
uniform float colorCoef;
uniform float colorHigh;
uniform int debugOutput;
uniform int debugMode;
uniform vec3 offs;
uniform vec3 gain;
uniform float gamma;
// The input's top level (255 at 8 bits): gamma works on levels, as the CPU table does. 0 takes
// the values as fractions.
uniform float levels;

varying vec2 center;

void main() {
    vec3 rgb = texture2D(source, center).rgb;
    float colorHi = (colorHigh < 0.0 || colorHigh > 1.0) ? 1.0 : colorHigh;
    // Samples of fewer bits than their 16-bit texture are corrected on the full scale and
    // written back on their own, so that the stages after see the input's kind of values.
    bool scaled = colorCoef > 0.0 && colorCoef != 1.0;
    if (scaled)
        rgb *= colorCoef;
    if (debugMode == 1) {
        float coef = 3.0 - (rgb.r + rgb.g + rgb.b);
        if (coef > 1.57) {
            rgb = offs + gain * rgb;
        } else {
            coef = sin(coef);
            rgb = rgb + offs + (gain * rgb - rgb) * coef;
        }
    } else {
        rgb = offs + gain * rgb;
        // Gamma 0 (unset) and 1 both mean none, as on the CPU.
        if (abs(gamma) >= 1e-7 && abs(gamma - 1.0) >= 1e-7) {
            float top = levels > 0.0 ? levels : 1.0;
            vec3 v = rgb * top;
            // The floor keeps pow away from zero.
            v = vec3(v.r > 0.0 ? v.r : 0.004, v.g > 0.0 ? v.g : 0.004, v.b > 0.0 ? v.b : 0.004);
            rgb = pow(v, vec3(gamma)) / top;
        }
    }
    rgb = clamp(rgb, 0.0, colorHi);
    if (debugOutput >= 1000) {
        if (debugOutput == 1001)
            rgb = rgb.rrr;
        else if (debugOutput == 1002)
            rgb = rgb.ggg;
        else if (debugOutput == 1003)
            rgb = rgb.bbb;
        else if (debugOutput == 1004)
            rgb = vec3(min(0.30 * rgb.r + 0.59 * rgb.g + 0.11 * rgb.b, 1.0));
    }
    gl_FragColor.rgb = scaled ? rgb / colorCoef : rgb;
}
