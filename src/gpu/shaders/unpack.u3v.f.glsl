#extension GL_EXT_gpu_shader4 : enable
// Unpacking Mono10p (method 0, four pixels in five bytes) and Mono12p (method 1, two pixels in
// three bytes) from a row of bytes. Mesa refuses switch at this language level, so the groups
// are an if-chain.
uniform sampler2D source;
uniform vec4 sourceSize;
uniform vec4 outputSize;
uniform int method;

varying vec2 centerOut;
varying vec2 center;

void main() {
    int start;
    int group;
    if (method == 0) {
        start = int(center.x / 4.0) * 5;
        group = int(mod(floor(center.x), 4.0));
    } else {
        start = int(center.x / 2.0) * 3;
        group = int(mod(floor(center.x), 2.0));
    }
    int mask0 = 0xFF;
    int mask1 = 0x03;
    int shift0 = 0;
    int shift1 = 8;
    int largest = 1023;
    if (method == 0) {
        if (group == 1) {
            start += 1;
            mask0 = 0xFC;
            mask1 = 0x0F;
            shift0 = 2;
            shift1 = 6;
        } else if (group == 2) {
            start += 2;
            mask0 = 0xF0;
            mask1 = 0x3F;
            shift0 = 4;
            shift1 = 4;
        } else if (group == 3) {
            start += 3;
            mask0 = 0xC0;
            mask1 = 0xFF;
            shift0 = 6;
            shift1 = 2;
        }
    } else {
        largest = 4095;
        if (group == 1) {
            start += 1;
            mask0 = 0xF0;
            mask1 = 0xFF;
            shift0 = 4;
            shift1 = 4;
        } else {
            mask1 = 0x0F;
        }
    }
    // 0.1 places the sample inside the byte's texel, clear of its edge.
    float s0 = (float(start) + 0.1) / sourceSize.x;
    float s1 = s0 + sourceSize.z;
    float v0 = texture2D(source, vec2(s0, centerOut.y)).r;
    float v1 = texture2D(source, vec2(s1, centerOut.y)).r;
    int b0 = int(floor(v0 * 255.0));
    int b1 = int(floor(v1 * 255.0));
    int outVal = ((b0 & mask0) >> shift0) | ((b1 & mask1) << shift1);
    if (outVal < 0)
        outVal = 0;
    if (outVal > largest)
        outVal = largest;
    float red = clamp(float(outVal) / 65535.0, 0.0, 1.0);
    gl_FragColor.rgb = vec3(red);
}
